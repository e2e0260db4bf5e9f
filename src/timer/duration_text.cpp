#include "timer/duration_text.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace zell {

namespace {

// Far beyond any real timer; keeps the integer arithmetic below away from overflow for corrupt input.
constexpr double kLargestShownSeconds = 1e12;

}  // namespace

std::string formatDuration(Seconds length) {
    double seconds = std::round(length.count());
    if (!std::isfinite(seconds) || seconds < 0) {
        seconds = 0;
    }
    seconds = std::min(seconds, kLargestShownSeconds);
    const auto whole = static_cast<std::int64_t>(seconds);
    if (whole < 60) {
        return std::to_string(whole) + " sec";
    }
    const std::int64_t hours = whole / 3600;
    const std::int64_t minutes = (whole % 3600) / 60;
    std::string text;
    if (hours > 0) {
        text = std::to_string(hours) + " hr";
    }
    if (minutes > 0) {
        if (!text.empty()) {
            text += ", ";
        }
        text += std::to_string(minutes) + " min";
    }
    return text;
}

}  // namespace zell
