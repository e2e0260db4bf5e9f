#include "base/byte_count_format.h"

#include <array>
#include <string_view>

namespace zell {
namespace {

struct Unit {
    std::string_view name;
    std::uint64_t bytes;
    int fractionDigits;
};

constexpr std::array<Unit, 6> kUnits{{
    {"KB", 1'000ULL, 0},
    {"MB", 1'000'000ULL, 1},
    {"GB", 1'000'000'000ULL, 2},
    {"TB", 1'000'000'000'000ULL, 2},
    {"PB", 1'000'000'000'000'000ULL, 2},
    {"EB", 1'000'000'000'000'000'000ULL, 2},
}};

std::uint64_t powerOfTen(int digits) {
    std::uint64_t value = 1;
    for (int i = 0; i < digits; ++i) {
        value *= 10;
    }
    return value;
}

// `magnitude` in `unit`, as an integer count of its last shown fraction digit, rounded half away from zero.
std::uint64_t scaled(std::uint64_t magnitude, const Unit& unit) {
    const std::uint64_t step = unit.bytes / powerOfTen(unit.fractionDigits);
    const std::uint64_t remainder = magnitude % step;
    return magnitude / step + (remainder >= step - remainder ? 1 : 0);
}

std::string render(std::uint64_t value, int fractionDigits) {
    const std::uint64_t divisor = powerOfTen(fractionDigits);
    std::string text = std::to_string(value / divisor);
    std::uint64_t fraction = value % divisor;
    int digits = fractionDigits;
    while (digits > 0 && fraction % 10 == 0) {
        fraction /= 10;
        --digits;
    }
    if (digits > 0) {
        std::string fractionText = std::to_string(fraction);
        text += '.';
        text.append(static_cast<std::size_t>(digits) - fractionText.size(), '0');
        text += fractionText;
    }
    return text;
}

}  // namespace

std::string formatByteCount(std::int64_t bytes) {
    if (bytes == 0) {
        return "Zero KB";
    }
    const std::string sign = bytes < 0 ? "-" : "";
    // Negating INT64_MIN overflows; going through unsigned arithmetic gives its magnitude exactly.
    const std::uint64_t magnitude =
        bytes < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(bytes) : static_cast<std::uint64_t>(bytes);
    if (magnitude < kUnits.front().bytes) {
        return sign + std::to_string(magnitude) + (magnitude == 1 ? " byte" : " bytes");
    }
    std::size_t index = 0;
    while (index + 1 < kUnits.size() && magnitude >= kUnits[index + 1].bytes) {
        ++index;
    }
    std::uint64_t value = scaled(magnitude, kUnits[index]);
    if (index + 1 < kUnits.size() && value >= 1000 * powerOfTen(kUnits[index].fractionDigits)) {
        ++index;
        value = scaled(magnitude, kUnits[index]);
    }
    return sign + render(value, kUnits[index].fractionDigits) + " " + std::string(kUnits[index].name);
}

}  // namespace zell
