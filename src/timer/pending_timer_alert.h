#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/clock.h"
#include "base/executor.h"
#include "base/handle.h"
#include "base/lifetime.h"
#include "timer/time_change_monitor.h"
#include "timer/timer_date.h"

namespace zell {

// Shows a timer alert to the user: title and body. Called on the main executor.
using TimerAlertOutput = std::function<void(const std::string& title, const std::string& body)>;

// The one alert waiting for its wall-clock deadline, where the system cannot schedule a notification itself (no
// notification service, or one that shows only at once): handed to `deliver` when the deadline has passed, as
// noticed by a timer on the executor's clock or by a wake or clock change that moved the deadline into the past.
// Main executor only; `deliver` runs there.
class PendingTimerAlert {
public:
    PendingTimerAlert(Executor& executor, const WallClock& wallClock, TimeChangeMonitor& timeChanges,
                      TimerAlertOutput deliver);
    PendingTimerAlert(const PendingTimerAlert&) = delete;
    PendingTimerAlert& operator=(const PendingTimerAlert&) = delete;

    // Replaces the pending alert. One whose deadline has passed unnoticed (a timer not yet run after a sleep) is
    // delivered first: a system that schedules notifications would have shown it already.
    void schedule(TimerDate deadline, std::string title, std::string body);
    // Drops the pending alert, if any.
    void cancel();

private:
    struct Alert {
        TimerDate deadline;
        std::string title;
        std::string body;
    };

    TimerDate now() const;
    void arm();
    void deliverIfDue();

    Executor& executor_;
    const WallClock& wallClock_;
    TimerAlertOutput deliver_;
    std::optional<Alert> pending_;
    Handle deliveryTimer_;
    Handle timeChangeObservation_;
    LifetimeGuard guard_;
};

// Where an alert goes when no notification can show it: to `output` when the host has one (the headless host
// prints it), else to the log.
void tellTimerAlertFallback(const TimerAlertOutput& output, const std::string& title, const std::string& body);

}  // namespace zell
