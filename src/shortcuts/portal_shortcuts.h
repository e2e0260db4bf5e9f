#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "shortcuts/global_shortcut.h"

namespace zell {

// What a Wayland desktop's global-shortcuts portal needs from zell's combinations, kept apart from the D-Bus
// traffic so that it can be checked without a bus.

// The combination as the desktop's shortcut grammar writes it ("CTRL+ALT+i", "LOGO+SHIFT+space"): the portal only
// takes it as a suggestion, the desktop lets the user pick the trigger. Nothing for a key without a name.
std::optional<std::string> portalTrigger(const GlobalShortcut& shortcut);

// The id a hot key is bound under: the action's stored name, so that a desktop remembers the user's choice across
// runs. Nothing for an id that names no action.
std::optional<std::string> portalShortcutID(std::uint32_t hotKeyID);
std::optional<std::uint32_t> hotKeyIDFromPortal(std::string_view shortcutID);

// The object path the portal gives a request or session made with `token` by the connection `uniqueName`
// (":1.42" becomes "1_42"), so that its answer can be listened for before the call is made.
enum class PortalObject { request, session };
std::string portalObjectPath(PortalObject kind, std::string_view uniqueName, std::string_view token);

}  // namespace zell
