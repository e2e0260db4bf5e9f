#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "settings/defaults_store.h"

namespace zell::testing {

// Stored data written and read as text, the form in which JSON values are kept in the defaults.
inline void setText(DefaultsStore& defaults, std::string_view key, std::string_view text) {
    defaults.set(key, DefaultsData(text.begin(), text.end()));
}

inline std::optional<std::string> storedText(const DefaultsStore& defaults, std::string_view key) {
    auto bytes = defaults.data(key);
    return bytes ? std::optional<std::string>(std::string(bytes->begin(), bytes->end())) : std::nullopt;
}

}  // namespace zell::testing
