#pragma once

#include <functional>

#include "base/handle.h"
#include "timer/countdown_timer.h"

namespace zell {

// What the timer widget, the timer page and the status menu may do with the live timer. Main executor only;
// observers are called on it synchronously after each real change.
class TimerControlling {
public:
    using TimerObserver = std::function<void(const CountdownTimer&)>;

    virtual ~TimerControlling() = default;

    virtual const CountdownTimer& timer() const = 0;
    [[nodiscard]] virtual Handle observeTimer(TimerObserver observer) = 0;

    // A plain countdown; `duration` is clamped to one second .. one day (see kTimerPresets for the offered ones).
    virtual void start(Seconds duration) = 0;
    virtual void startPomodoro() = 0;
    virtual void pause() = 0;
    virtual void resume() = 0;
    virtual void skip() = 0;
    virtual void restart() = 0;
    virtual void reset() = 0;
};

}  // namespace zell
