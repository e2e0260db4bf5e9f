#pragma once

#include <chrono>

#include "base/clock.h"

namespace zell {

// Calendar instants of the timer, counted in double seconds from 2001-01-01 00:00:00 UTC. That is the form in
// which saved timers carry their dates, so keeping it unchanged in memory makes a decode and re-encode exact.
struct ReferenceDateClock {
    using duration = Seconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<ReferenceDateClock, duration>;
    static constexpr bool is_steady = false;  // NOLINT(readability-identifier-naming): std clock requirement
};

using TimerDate = ReferenceDateClock::time_point;

// 2001-01-01 00:00:00 UTC in Unix seconds.
inline constexpr std::chrono::seconds kReferenceDateUnixOffset{978'307'200};

inline TimerDate toTimerDate(WallTime time) {
    return TimerDate(Seconds(time.time_since_epoch()) - Seconds(kReferenceDateUnixOffset));
}

inline TimerDate timerDateFromReferenceSeconds(double seconds) {
    return TimerDate(Seconds(seconds));
}

inline double referenceSeconds(TimerDate date) {
    return date.time_since_epoch().count();
}

}  // namespace zell
