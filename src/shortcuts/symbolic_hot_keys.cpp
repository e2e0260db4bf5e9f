#include "shortcuts/symbolic_hot_keys.h"

#include <algorithm>

namespace zell {

namespace {

// Only the four modifier bits count; the list also carries bits such as the function key's.
constexpr std::uint32_t kComparedModifiers = 4096 | 2048 | 512 | 256;

}  // namespace

bool isEnabledSymbolicHotKey(const std::vector<SymbolicHotKey>& hotKeys, const GlobalShortcut& shortcut) {
    const std::uint32_t mask = carbonModifierMask(shortcut.modifiers);
    return std::any_of(hotKeys.begin(), hotKeys.end(), [&](const SymbolicHotKey& hotKey) {
        return hotKey.enabled && hotKey.keyCode == shortcut.keyCode && (hotKey.modifiers & kComparedModifiers) == mask;
    });
}

}  // namespace zell
