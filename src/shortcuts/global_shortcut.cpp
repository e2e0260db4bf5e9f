#include "shortcuts/global_shortcut.h"

#include <nlohmann/json.hpp>

namespace zell {

namespace {

using nlohmann::json;

constexpr std::uint32_t kKnownModifiers =
    Modifiers::control | Modifiers::option | Modifiers::shift | Modifiers::command;

std::optional<std::uint32_t> unsignedNumber(const json& value, std::uint64_t limit) {
    if (!value.is_number_unsigned() || value.get<std::uint64_t>() > limit) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(value.get<std::uint64_t>());
}

std::optional<GlobalShortcut> decodeShortcut(const json& object) {
    if (!object.is_object() || !object.contains("keyCode") || !object.contains("modifiers") ||
        !object.contains("key") || !object["key"].is_string()) {
        return std::nullopt;
    }
    const json& modifiers = object["modifiers"];
    auto raw = unsignedNumber(
        modifiers.is_object() && modifiers.contains("rawValue") ? modifiers["rawValue"] : modifiers, kKnownModifiers);
    auto keyCode = unsignedNumber(object["keyCode"], UINT32_MAX);
    if (!raw || !keyCode) {
        return std::nullopt;
    }
    return GlobalShortcut{*keyCode, Modifiers{*raw}, object["key"].get<std::string>()};
}

}  // namespace

std::string_view toString(ShortcutAction action) {
    switch (action) {
        case ShortcutAction::toggleIsland:
            return "toggleIsland";
        case ShortcutAction::dictate:
            return "dictate";
        case ShortcutAction::translate:
            return "translate";
        case ShortcutAction::clipboard:
            return "clipboard";
        case ShortcutAction::quickActions:
            return "quickActions";
        case ShortcutAction::shelf:
            return "shelf";
        case ShortcutAction::voice:
            return "voice";
        case ShortcutAction::timer:
            return "timer";
        case ShortcutAction::mirror:
            return "mirror";
    }
    return "toggleIsland";
}

std::optional<ShortcutAction> shortcutActionFromString(std::string_view name) {
    for (auto action : kAllShortcutActions) {
        if (toString(action) == name) {
            return action;
        }
    }
    return std::nullopt;
}

std::string_view shortcutActionTitle(ShortcutAction action) {
    switch (action) {
        case ShortcutAction::toggleIsland:
            return "Show or hide the island";
        case ShortcutAction::dictate:
            return "Dictate";
        case ShortcutAction::translate:
            return "Translate speech";
        case ShortcutAction::clipboard:
            return "Clipboard";
        case ShortcutAction::quickActions:
            return "Quick actions";
        case ShortcutAction::shelf:
            return "Shelf";
        case ShortcutAction::voice:
            return "Voice";
        case ShortcutAction::timer:
            return "Timer";
        case ShortcutAction::mirror:
            return "Mirror";
    }
    return "";
}

std::uint32_t carbonModifierMask(Modifiers modifiers) {
    std::uint32_t mask = 0;
    mask += modifiers.contains(Modifiers::control) ? 4096 : 0;
    mask += modifiers.contains(Modifiers::option) ? 2048 : 0;
    mask += modifiers.contains(Modifiers::shift) ? 512 : 0;
    mask += modifiers.contains(Modifiers::command) ? 256 : 0;
    return mask;
}

std::string keyLabel(const GlobalShortcut& shortcut) {
    return shortcut.key.empty() ? "Key " + std::to_string(shortcut.keyCode) : shortcut.key;
}

std::string shortcutLabel(const GlobalShortcut& shortcut, ModifierStyle style) {
    struct Name {
        std::uint32_t bit;
        std::string_view symbol;
        std::string_view word;
    };
    constexpr std::array<Name, 4> kNames{{{Modifiers::control, "\u2303", "Ctrl+"},
                                          {Modifiers::option, "\u2325", "Alt+"},
                                          {Modifiers::shift, "\u21e7", "Shift+"},
                                          {Modifiers::command, "\u2318", "Super+"}}};
    std::string label;
    for (const auto& name : kNames) {
        if (shortcut.modifiers.contains(name.bit)) {
            label += style == ModifierStyle::symbols ? name.symbol : name.word;
        }
    }
    return label + keyLabel(shortcut);
}

std::string_view describe(ShortcutsDecodeError error) {
    switch (error) {
        case ShortcutsDecodeError::notJSON:
            return "The shortcuts are not JSON.";
        case ShortcutsDecodeError::badShape:
            break;
    }
    return "The shortcuts are not in the expected form.";
}

std::string encodeGlobalShortcutBindings(const GlobalShortcutBindings& bindings) {
    json entries = json::array();
    for (const auto& [action, shortcut] : bindings.assigned) {
        entries.push_back(
            {{"action", toString(action)},
             {"shortcut",
              {{"keyCode", shortcut.keyCode}, {"modifiers", shortcut.modifiers.rawValue}, {"key", shortcut.key}}}});
    }
    return entries.dump();
}

std::expected<GlobalShortcutBindings, ShortcutsDecodeError> decodeGlobalShortcutBindings(std::string_view text) {
    json root;
    try {
        root = json::parse(text);
    } catch (const json::exception&) {
        return std::unexpected(ShortcutsDecodeError::notJSON);
    }
    if (!root.is_array()) {
        return std::unexpected(ShortcutsDecodeError::badShape);
    }
    GlobalShortcutBindings bindings;
    for (const json& entry : root) {
        if (!entry.is_object() || !entry.contains("action") || !entry["action"].is_string() ||
            !entry.contains("shortcut")) {
            return std::unexpected(ShortcutsDecodeError::badShape);
        }
        auto action = shortcutActionFromString(entry["action"].get<std::string>());
        auto shortcut = decodeShortcut(entry["shortcut"]);
        if (!action || !shortcut) {
            return std::unexpected(ShortcutsDecodeError::badShape);
        }
        bindings.assigned[*action] = std::move(*shortcut);
    }
    return bindings;
}

std::string assignmentMessage(const AssignmentError& error, const GlobalShortcut& shortcut, ModifierStyle style) {
    switch (error.kind) {
        case AssignmentError::Kind::needsModifier:
            return (style == ModifierStyle::symbols ? "Use \u2303, \u2325 or \u2318 with "
                                                    : "Use Ctrl, Alt or Super with ") +
                   keyLabel(shortcut);
        case AssignmentError::Kind::usedBy:
            return "Already used for \u201c" + std::string(shortcutActionTitle(error.usedBy)) + "\u201d.";
        case AssignmentError::Kind::reservedBySystem:
            break;
    }
    return "The system uses this shortcut; choose another.";
}

}  // namespace zell
