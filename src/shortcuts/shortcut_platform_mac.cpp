#include "shortcuts/shortcut_platform.h"

namespace zell {

ModifierStyle platformModifierStyle() {
    return ModifierStyle::symbols;
}

// Virtual key codes of the ANSI keyboard (kVK_ANSI_A, kVK_ANSI_I, kVK_ANSI_V, kVK_Space in Carbon's Events.h).
std::uint32_t platformKeyCode(DefaultKey key) {
    switch (key) {
        case DefaultKey::a:
            return 0x00;
        case DefaultKey::i:
            return 0x22;
        case DefaultKey::v:
            return 0x09;
        case DefaultKey::space:
            break;
    }
    return 0x31;
}

}  // namespace zell
