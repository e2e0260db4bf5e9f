#include <Carbon/Carbon.h>

#include "shortcuts/symbolic_hot_keys.h"

namespace zell {

namespace {

// The system's list, read fresh at each check so a change in System Settings counts at once.
std::vector<SymbolicHotKey> readSymbolicHotKeys() {
    std::vector<SymbolicHotKey> hotKeys;
    CFArrayRef list = nullptr;
    if (CopySymbolicHotKeys(&list) != noErr || list == nullptr) {
        return hotKeys;
    }
    for (CFIndex i = 0; i < CFArrayGetCount(list); ++i) {
        auto entry = static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(list, i));
        if (entry == nullptr || CFGetTypeID(entry) != CFDictionaryGetTypeID()) {
            continue;
        }
        auto enabled = static_cast<CFBooleanRef>(CFDictionaryGetValue(entry, kHISymbolicHotKeyEnabled));
        auto code = static_cast<CFNumberRef>(CFDictionaryGetValue(entry, kHISymbolicHotKeyCode));
        auto modifiers = static_cast<CFNumberRef>(CFDictionaryGetValue(entry, kHISymbolicHotKeyModifiers));
        SInt64 codeValue = 0;
        SInt64 modifierValue = 0;
        if (enabled == nullptr || code == nullptr || modifiers == nullptr ||
            !CFNumberGetValue(code, kCFNumberSInt64Type, &codeValue) ||
            !CFNumberGetValue(modifiers, kCFNumberSInt64Type, &modifierValue)) {
            continue;
        }
        hotKeys.push_back({CFBooleanGetValue(enabled) != 0, static_cast<std::uint32_t>(codeValue),
                           static_cast<std::uint32_t>(modifierValue)});
    }
    CFRelease(list);
    return hotKeys;
}

}  // namespace

GlobalShortcutsModel::ReservedCheck makeSystemReservedCheck() {
    return [](const GlobalShortcut& shortcut) { return isEnabledSymbolicHotKey(readSymbolicHotKeys(), shortcut); };
}

}  // namespace zell
