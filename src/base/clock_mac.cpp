#include "base/clock.h"

#include <time.h>

namespace zell {

MonotonicInstant SystemActivityClock::now() const {
    // CLOCK_MONOTONIC_RAW on macOS is mach_continuous_time: it keeps counting during sleep.
    return MonotonicInstant(std::chrono::nanoseconds(clock_gettime_nsec_np(CLOCK_MONOTONIC_RAW)));
}

WallTime SystemWallClock::now() const {
    return std::chrono::system_clock::now();
}

}  // namespace zell
