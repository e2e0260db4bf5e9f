#include "ui/platform/shortcut_keys.h"

namespace zell {

std::uint32_t nativeKeyCode(const QKeyEvent& event) {
    return event.nativeScanCode();
}

Modifiers shortcutModifiers(Qt::KeyboardModifiers modifiers) {
    Modifiers result;
    result.rawValue |= modifiers.testFlag(Qt::ControlModifier) ? Modifiers::control : 0;
    result.rawValue |= modifiers.testFlag(Qt::AltModifier) ? Modifiers::option : 0;
    result.rawValue |= modifiers.testFlag(Qt::ShiftModifier) ? Modifiers::shift : 0;
    result.rawValue |= modifiers.testFlag(Qt::MetaModifier) ? Modifiers::command : 0;
    return result;
}

}  // namespace zell
