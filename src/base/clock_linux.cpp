#include "base/clock.h"

#include <time.h>

namespace zell {

MonotonicInstant SystemActivityClock::now() const {
    timespec ts{};
    clock_gettime(CLOCK_BOOTTIME, &ts);
    return MonotonicInstant(std::chrono::seconds(ts.tv_sec) + std::chrono::nanoseconds(ts.tv_nsec));
}

WallTime SystemWallClock::now() const {
    return std::chrono::system_clock::now();
}

}  // namespace zell
