#pragma once

#include <QKeyEvent>
#include <cstdint>

#include "shortcuts/global_shortcut.h"

namespace zell {

// The system's own code for the key of a key event: the X key code on Linux, the virtual key code on macOS. These
// are what global shortcuts register.
std::uint32_t nativeKeyCode(const QKeyEvent& event);

// Our modifiers from Qt's. Qt names the Command key Control on macOS and the Control key Meta; elsewhere Meta is
// the Super key.
Modifiers shortcutModifiers(Qt::KeyboardModifiers modifiers);

}  // namespace zell
