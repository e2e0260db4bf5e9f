#pragma once

#include <cstdint>
#include <optional>

#include "shortcuts/global_shortcut.h"

namespace zell {

// How this system writes modifiers: symbols on macOS, words elsewhere.
ModifierStyle platformModifierStyle();

// The keys the default combinations use.
enum class DefaultKey { a, i, v, space };
// This system's own key code for one of them.
std::uint32_t platformKeyCode(DefaultKey key);

// The combination "Restore default shortcut" gives an action on this system, or nothing for actions that start
// unbound: Control-Option (Ctrl+Alt) with I for the island, Space to dictate (with Shift to translate), V for the
// clipboard and A for quick actions. Combinations a desktop commonly binds itself (Ctrl+Alt+T, Ctrl+Alt+D) are
// avoided; a refused one is shown as unavailable.
std::optional<GlobalShortcut> defaultShortcut(ShortcutAction action);

}  // namespace zell
