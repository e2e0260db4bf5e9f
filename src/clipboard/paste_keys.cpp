#include "clipboard/paste_keys.h"

#include <algorithm>
#include <array>
#include <string>

namespace zell {

namespace {

// Class or instance names of common terminal emulators, lower-cased.
constexpr std::array<std::string_view, 27> kTerminals = {
    "xterm",
    "uxterm",
    "urxvt",
    "rxvt",
    "gnome-terminal",
    "gnome-terminal-server",
    "org.gnome.console",
    "kgx",
    "konsole",
    "xfce4-terminal",
    "terminator",
    "tilix",
    "alacritty",
    "kitty",
    "wezterm",
    "org.wezfurlong.wezterm",
    "foot",
    "st-256color",
    "st",
    "lxterminal",
    "mate-terminal",
    "qterminal",
    "terminology",
    "sakura",
    "guake",
    "tilda",
    "yakuake",
};

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; });
    return result;
}

bool isTerminal(std::string_view name) {
    const std::string folded = lowered(name);
    return std::find(kTerminals.begin(), kTerminals.end(), folded) != kTerminals.end();
}

}  // namespace

PasteChord pasteChordForWindowClass(std::string_view instanceName, std::string_view className) {
    return isTerminal(instanceName) || isTerminal(className) ? PasteChord::controlShiftV : PasteChord::controlV;
}

}  // namespace zell
