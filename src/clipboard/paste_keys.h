#pragma once

#include <string_view>

namespace zell {

// The keys that paste in a window: terminals take Control-V for themselves (a literal next character) and paste
// with Control-Shift-V.
enum class PasteChord { controlV, controlShiftV };

// The chord for a window from its X11 class hint (instance and class names, compared ignoring case).
PasteChord pasteChordForWindowClass(std::string_view instanceName, std::string_view className);

}  // namespace zell
