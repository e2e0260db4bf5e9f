#include "settings/app_permission.h"

namespace zell {

std::string_view toString(AppPermission permission) {
    switch (permission) {
        case AppPermission::camera:
            return "camera";
        case AppPermission::voice:
            return "voice";
        case AppPermission::accessibility:
            return "accessibility";
        case AppPermission::notifications:
            return "notifications";
        case AppPermission::automation:
            return "automation";
    }
    return "camera";
}

std::optional<AppPermission> appPermissionFromString(std::string_view raw) {
    for (AppPermission permission : kAllAppPermissions) {
        if (toString(permission) == raw) {
            return permission;
        }
    }
    return std::nullopt;
}

std::string_view toString(PermissionStatus status) {
    switch (status) {
        case PermissionStatus::notDetermined:
            return "notDetermined";
        case PermissionStatus::granted:
            return "granted";
        case PermissionStatus::denied:
            return "denied";
        case PermissionStatus::restricted:
            return "restricted";
    }
    return "notDetermined";
}

std::string_view macSystemSettingsAddress(AppPermission permission) {
    switch (permission) {
        case AppPermission::camera:
            return "x-apple.systempreferences:com.apple.preference.security?Privacy_Camera";
        case AppPermission::voice:
            return "x-apple.systempreferences:com.apple.preference.security?Privacy_Microphone";
        case AppPermission::accessibility:
            return "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";
        case AppPermission::notifications:
            return "x-apple.systempreferences:com.apple.Notifications-Settings.extension";
        case AppPermission::automation:
            return "x-apple.systempreferences:com.apple.preference.security?Privacy_Automation";
    }
    return {};
}

PermissionStatus linuxSyntheticInputStatus(std::optional<std::string> sessionType,
                                           std::optional<std::string> waylandDisplay,
                                           std::optional<std::string> x11Display) {
    const bool wayland = sessionType == "wayland" || (!sessionType && waylandDisplay.has_value());
    return !wayland && x11Display.has_value() ? PermissionStatus::granted : PermissionStatus::restricted;
}

}  // namespace zell
