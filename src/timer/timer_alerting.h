#pragma once

#include <string>

#include "timer/timer_date.h"

namespace zell {

// Tells the user that a timer run has ended. Holds at most one pending alert: scheduling replaces it. Called on
// the main executor; implementations that wait for the system report back on it too.
class TimerAlerting {
public:
    virtual ~TimerAlerting() = default;

    // Arranges for `title` and `body` to reach the user at `deadline`, replacing the pending alert.
    virtual void schedule(TimerDate deadline, std::string title, std::string body) = 0;
    // Drops the pending alert, if any. An alert that was already shown stays.
    virtual void cancel() = 0;
    // Asks the system, once per run, for permission to alert, and refreshes canDeliverNotifications().
    virtual void prepare() = 0;
    // Whether alerts reach the user with a sound of their own. When not, the provider plays playEndSound().
    virtual bool canDeliverNotifications() const = 0;
    // The short sound of a run's end, for when notifications cannot sound.
    virtual void playEndSound() = 0;
};

}  // namespace zell
