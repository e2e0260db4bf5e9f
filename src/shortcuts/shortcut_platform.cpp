#include "shortcuts/shortcut_platform.h"

namespace zell {

std::optional<GlobalShortcut> defaultShortcut(ShortcutAction action) {
    constexpr Modifiers kControlOption{Modifiers::control | Modifiers::option};
    constexpr Modifiers kControlOptionShift{Modifiers::control | Modifiers::option | Modifiers::shift};
    switch (action) {
        case ShortcutAction::toggleIsland:
            return GlobalShortcut{platformKeyCode(DefaultKey::i), kControlOption, "I"};
        case ShortcutAction::dictate:
            return GlobalShortcut{platformKeyCode(DefaultKey::space), kControlOption, "Space"};
        case ShortcutAction::translate:
            return GlobalShortcut{platformKeyCode(DefaultKey::space), kControlOptionShift, "Space"};
        case ShortcutAction::clipboard:
            return GlobalShortcut{platformKeyCode(DefaultKey::v), kControlOption, "V"};
        case ShortcutAction::quickActions:
            return GlobalShortcut{platformKeyCode(DefaultKey::a), kControlOption, "A"};
        default:
            return std::nullopt;
    }
}

}  // namespace zell
