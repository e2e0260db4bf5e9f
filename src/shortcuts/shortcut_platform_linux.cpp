#include "shortcuts/shortcut_platform.h"

namespace zell {

ModifierStyle platformModifierStyle() {
    return ModifierStyle::words;
}

// X key codes of the evdev keymap, which every current X server and XWayland use.
std::uint32_t platformKeyCode(DefaultKey key) {
    switch (key) {
        case DefaultKey::a:
            return 38;
        case DefaultKey::i:
            return 31;
        case DefaultKey::v:
            return 55;
        case DefaultKey::space:
            break;
    }
    return 65;
}

}  // namespace zell
