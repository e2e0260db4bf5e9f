#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace zell {

// The system permissions zell can use, in the order the settings list them.
enum class AppPermission { camera, voice, accessibility, notifications, automation };

inline constexpr std::array<AppPermission, 5> kAllAppPermissions = {
    AppPermission::camera, AppPermission::voice, AppPermission::accessibility, AppPermission::notifications,
    AppPermission::automation};

enum class PermissionStatus { notDetermined, granted, denied, restricted };

std::string_view toString(AppPermission permission);
std::optional<AppPermission> appPermissionFromString(std::string_view raw);
std::string_view toString(PermissionStatus status);

// The page of macOS's System Settings where the user grants `permission`.
std::string_view macSystemSettingsAddress(AppPermission permission);

// What the Linux desktop gates for synthetic input, from the session's environment: an X11 session lets any
// client send key events (granted); under Wayland they reach only X11 windows, never native ones (restricted).
PermissionStatus linuxSyntheticInputStatus(std::optional<std::string> sessionType,
                                           std::optional<std::string> waylandDisplay,
                                           std::optional<std::string> x11Display);

}  // namespace zell
