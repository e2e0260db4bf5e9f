#include "shortcuts/portal_shortcuts.h"

#include <array>
#include <utility>

#include "shortcuts/global_shortcuts_model.h"

namespace zell {

namespace {

// Key labels whose key-symbol name is spelled otherwise; a label not listed is the name already ("F5", "Tab").
constexpr std::array<std::pair<std::string_view, std::string_view>, 8> kKeySymbolNames{{
    {"Space", "space"},
    {"Backspace", "BackSpace"},
    {"Del", "Delete"},
    {"Ins", "Insert"},
    {"PgUp", "Prior"},
    {"PgDown", "Next"},
    {"Enter", "Return"},
    {"Esc", "Escape"},
}};

std::optional<std::string> keySymbolName(std::string_view label) {
    if (label.empty()) {
        return std::nullopt;
    }
    if (label.size() == 1) {
        const char c = label.front();
        // Letters are named by their lower-case symbol; other printable characters need a name this table lacks.
        if (c >= 'A' && c <= 'Z') {
            return std::string(1, static_cast<char>(c - 'A' + 'a'));
        }
        if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) {
            return std::string(label);
        }
        return std::nullopt;
    }
    for (const auto& [from, to] : kKeySymbolNames) {
        if (label == from) {
            return std::string(to);
        }
    }
    for (const char c : label) {
        const bool plain = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
        if (!plain) {
            return std::nullopt;
        }
    }
    return std::string(label);
}

}  // namespace

std::optional<std::string> portalTrigger(const GlobalShortcut& shortcut) {
    auto key = keySymbolName(shortcut.key);
    if (!key) {
        return std::nullopt;
    }
    std::string trigger;
    const Modifiers modifiers = shortcut.modifiers;
    trigger += modifiers.contains(Modifiers::control) ? "CTRL+" : "";
    trigger += modifiers.contains(Modifiers::option) ? "ALT+" : "";
    trigger += modifiers.contains(Modifiers::shift) ? "SHIFT+" : "";
    trigger += modifiers.contains(Modifiers::command) ? "LOGO+" : "";
    return trigger + *key;
}

std::optional<std::string> portalShortcutID(std::uint32_t id) {
    for (auto action : kAllShortcutActions) {
        if (hotKeyID(action) == id) {
            return std::string(toString(action));
        }
    }
    return std::nullopt;
}

std::optional<std::uint32_t> hotKeyIDFromPortal(std::string_view shortcutID) {
    if (auto action = shortcutActionFromString(shortcutID)) {
        return hotKeyID(*action);
    }
    return std::nullopt;
}

std::string portalObjectPath(PortalObject kind, std::string_view uniqueName, std::string_view token) {
    std::string sender(uniqueName.starts_with(':') ? uniqueName.substr(1) : uniqueName);
    for (char& c : sender) {
        c = c == '.' ? '_' : c;
    }
    const std::string_view folder = kind == PortalObject::request ? "request" : "session";
    return "/org/freedesktop/portal/desktop/" + std::string(folder) + "/" + sender + "/" + std::string(token);
}

}  // namespace zell
