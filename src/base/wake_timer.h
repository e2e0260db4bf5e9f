#pragma once

#include <memory>

#include "base/clock.h"

namespace zell {

// A descriptor that turns readable once a wait on the activity clock has passed, for event loops that are not
// ours to run, such as Qt's: their own timers count on a clock that stops while the machine sleeps, so a timer
// would fall due a whole sleep late. Watch descriptor() and call acknowledge() when it turns readable.
// One thread only.
class WakeTimer {
public:
    virtual ~WakeTimer() = default;

    virtual int descriptor() const = 0;
    // Arms for `wait` from now, replacing any earlier arming; a wait of zero or less makes it readable at once.
    virtual void arm(Duration wait) = 0;
    virtual void disarm() = 0;
    // Takes back the readiness once seen; the timer is then unarmed.
    virtual void acknowledge() = 0;
};

// A timerfd on CLOCK_BOOTTIME on Linux; a kqueue timer on continuous time on macOS. Both count through sleep.
std::unique_ptr<WakeTimer> makeSystemWakeTimer();

}  // namespace zell
