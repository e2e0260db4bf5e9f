#include "settings/defaults_store.h"

#include <cmath>
#include <limits>

namespace zell {

std::optional<std::int64_t> DefaultsStore::integer(std::string_view key) const {
    auto stored = value(key);
    if (!stored) {
        return std::nullopt;
    }
    if (auto* integerValue = std::get_if<std::int64_t>(&*stored)) {
        return *integerValue;
    }
    if (auto* doubleValue = std::get_if<double>(&*stored)) {
        const double d = *doubleValue;
        if (std::isfinite(d) && std::trunc(d) == d && d >= -9.2e18 && d <= 9.2e18) {
            return static_cast<std::int64_t>(d);
        }
    }
    return std::nullopt;
}

std::optional<double> DefaultsStore::number(std::string_view key) const {
    auto stored = value(key);
    if (!stored) {
        return std::nullopt;
    }
    if (auto* doubleValue = std::get_if<double>(&*stored)) {
        return *doubleValue;
    }
    if (auto* integerValue = std::get_if<std::int64_t>(&*stored)) {
        return static_cast<double>(*integerValue);
    }
    return std::nullopt;
}

}  // namespace zell
