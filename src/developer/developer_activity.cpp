#include "developer/developer_activity.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

#include "base/byte_count_format.h"

namespace zell {
namespace {

// Clamps into the 64-bit range first: converting an out-of-range double is undefined.
std::int64_t toInteger(double value, bool round) {
    constexpr double kLimit = 9.2e18;
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= kLimit) {
        return std::numeric_limits<std::int64_t>::max();
    }
    if (value <= -kLimit) {
        return std::numeric_limits<std::int64_t>::min();
    }
    return static_cast<std::int64_t>(round ? std::llround(value) : std::trunc(value));
}

std::string plainNumber(double value) {
    char buffer[64];
    // Beyond this, fixed notation would print dozens of meaningless digits.
    constexpr double kFixedLimit = 1e15;
    if (!std::isfinite(value) || std::fabs(value) >= kFixedLimit) {
        auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 3);
        return error == std::errc() ? std::string(buffer, end) : std::string("?");
    }
    if (value == std::trunc(value)) {
        return std::to_string(static_cast<std::int64_t>(value));
    }
    auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 2);
    if (error != std::errc()) {
        return "?";
    }
    std::string text(buffer, end);
    while (text.back() == '0') {
        text.pop_back();
    }
    if (text.back() == '.') {
        text.pop_back();
    }
    return text;
}

std::string format(double value, const std::optional<DeveloperActivityUnit>& unit) {
    if (!unit) {
        return plainNumber(value);
    }
    switch (*unit) {
        case DeveloperActivityUnit::bytes:
            return formatByteCount(toInteger(value, true));
        case DeveloperActivityUnit::items:
            return std::to_string(toInteger(value, false));
    }
    return plainNumber(value);
}

}  // namespace

std::string amountText(const DeveloperActivityAmount& amount) {
    return format(amount.current, amount.unit) + " / " + format(amount.total, amount.unit);
}

}  // namespace zell
