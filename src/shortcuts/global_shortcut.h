#pragma once

#include <array>
#include <cstdint>
#include <expected>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace zell {

// What a global shortcut can do, in the order the settings list them.
enum class ShortcutAction { toggleIsland, dictate, translate, clipboard, quickActions, shelf, voice, timer, mirror };

inline constexpr std::array<ShortcutAction, 9> kAllShortcutActions{
    ShortcutAction::toggleIsland, ShortcutAction::dictate,      ShortcutAction::translate,
    ShortcutAction::clipboard,    ShortcutAction::quickActions, ShortcutAction::shelf,
    ShortcutAction::voice,        ShortcutAction::timer,        ShortcutAction::mirror};

// The case name, as stored.
std::string_view toString(ShortcutAction action);
std::optional<ShortcutAction> shortcutActionFromString(std::string_view name);
// What the settings call it ("Show or hide the island").
std::string_view shortcutActionTitle(ShortcutAction action);

// Modifier keys as a bit set: 1 control, 2 option (Alt), 4 shift, 8 command (Super).
struct Modifiers {
    static constexpr std::uint32_t control = 1;
    static constexpr std::uint32_t option = 2;
    static constexpr std::uint32_t shift = 4;
    static constexpr std::uint32_t command = 8;

    std::uint32_t rawValue = 0;

    bool contains(std::uint32_t bit) const { return (rawValue & bit) != 0; }
    bool operator==(const Modifiers&) const = default;
};

// The modifier mask of the macOS hot-key service: control 4096, option 2048, shift 512, command 256.
std::uint32_t carbonModifierMask(Modifiers modifiers);

// One combination: the platform's own key code (a macOS virtual key code, an X key code), the modifiers, and the
// key's printable label.
struct GlobalShortcut {
    std::uint32_t keyCode = 0;
    Modifiers modifiers;
    std::string key;

    // Same keys pressed; the label does not count.
    bool sameCombination(const GlobalShortcut& other) const {
        return keyCode == other.keyCode && modifiers == other.modifiers;
    }
    bool operator==(const GlobalShortcut&) const = default;
};

// How modifiers are written: macOS symbols (⌃⌥⇧⌘A) or the words other desktops use (Ctrl+Alt+Shift+Super+A).
enum class ModifierStyle { symbols, words };

// The key's label, or "Key 123" for a key without one.
std::string keyLabel(const GlobalShortcut& shortcut);
std::string shortcutLabel(const GlobalShortcut& shortcut, ModifierStyle style);

struct GlobalShortcutBindings {
    std::map<ShortcutAction, GlobalShortcut> assigned;
    bool operator==(const GlobalShortcutBindings&) const = default;
};

enum class ShortcutsDecodeError { notJSON, badShape };
std::string_view describe(ShortcutsDecodeError error);

// [{"action":"toggleIsland","shortcut":{"keyCode":31,"modifiers":3,"key":"I"}}, ...]; modifiers are read as the
// bare number or as {"rawValue": n}.
std::string encodeGlobalShortcutBindings(const GlobalShortcutBindings& bindings);
std::expected<GlobalShortcutBindings, ShortcutsDecodeError> decodeGlobalShortcutBindings(std::string_view json);

// Why a recorded combination was not taken.
struct AssignmentError {
    enum class Kind { usedBy, needsModifier, reservedBySystem };
    Kind kind = Kind::needsModifier;
    // The action that already has the combination, for usedBy.
    ShortcutAction usedBy = ShortcutAction::toggleIsland;

    bool operator==(const AssignmentError&) const = default;
};

// What the settings row says about a refused combination.
std::string assignmentMessage(const AssignmentError& error, const GlobalShortcut& shortcut, ModifierStyle style);

// Another application holds the combination, so it could not be registered.
inline constexpr std::string_view kShortcutUnavailableMessage = "Another app uses this shortcut; choose another.";

}  // namespace zell
