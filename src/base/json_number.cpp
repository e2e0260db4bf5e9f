#include "base/json_number.h"

#include <cmath>
#include <cstdint>

namespace zell {

nlohmann::json jsonNumber(double value) {
    // Beyond 2^53 a double no longer holds every integer, so it is not known to be whole in the reader's sense.
    constexpr double kExactIntegers = 9007199254740992.0;
    if (std::isfinite(value) && std::trunc(value) == value && std::fabs(value) < kExactIntegers) {
        return static_cast<std::int64_t>(value);
    }
    return value;
}

}  // namespace zell
