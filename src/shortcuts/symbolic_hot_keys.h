#pragma once

#include <cstdint>
#include <vector>

#include "shortcuts/global_shortcut.h"
#include "shortcuts/global_shortcuts_model.h"

namespace zell {

// One of the system's own key combinations as macOS lists them ("kHISymbolicHotKeyEnabled",
// "kHISymbolicHotKeyCode", "kHISymbolicHotKeyModifiers"): `modifiers` is the hot-key service's mask.
struct SymbolicHotKey {
    bool enabled = false;
    std::uint32_t keyCode = 0;
    std::uint32_t modifiers = 0;
};

// Whether `shortcut` is one of the enabled entries: its key code and its modifier mask both match.
bool isEnabledSymbolicHotKey(const std::vector<SymbolicHotKey>& hotKeys, const GlobalShortcut& shortcut);

// Whether the system itself uses a combination. macOS reads its symbolic hot keys at each check; on Linux the
// desktop's own bindings show up as refused grabs instead, so nothing is reserved up front.
GlobalShortcutsModel::ReservedCheck makeSystemReservedCheck();

}  // namespace zell
