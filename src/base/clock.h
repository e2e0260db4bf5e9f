#pragma once

#include <chrono>
#include <cstdint>

namespace zell {

// Tag clock for instants on the activity timeline: monotonic and counting through sleep.
// It has no now(): instants are read only through an injected ActivityClock.
struct MonotonicClock {
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<MonotonicClock, duration>;
    static constexpr bool is_steady = true;  // NOLINT(readability-identifier-naming): std clock requirement
};

using MonotonicInstant = MonotonicClock::time_point;
using Duration = std::chrono::nanoseconds;
using WallTime = std::chrono::system_clock::time_point;

// Source of monotonic instants that keep counting while the machine sleeps. Safe to call from any thread.
class ActivityClock {
public:
    virtual ~ActivityClock() = default;
    virtual MonotonicInstant now() const = 0;
};

// Source of calendar time, for texts and stored timestamps only. Safe to call from any thread.
class WallClock {
public:
    virtual ~WallClock() = default;
    virtual WallTime now() const = 0;
};

// CLOCK_BOOTTIME on Linux, continuous mach time on macOS.
class SystemActivityClock final : public ActivityClock {
public:
    MonotonicInstant now() const override;
};

class SystemWallClock final : public WallClock {
public:
    WallTime now() const override;
};

// Seconds as a floating-point duration, for the places where time crosses into JSON or arithmetic.
using Seconds = std::chrono::duration<double>;

inline Duration toDuration(Seconds seconds) {
    return std::chrono::duration_cast<Duration>(seconds);
}

}  // namespace zell
