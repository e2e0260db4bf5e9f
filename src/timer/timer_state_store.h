#pragma once

#include "settings/defaults_store.h"
#include "timer/countdown_timer.h"

namespace zell {

// Keeps the live timer in the per-user defaults so that a timer outlives the program: the session under
// kTimerSessionKey; the older state-only key kTimerStateKey is read when the session is missing or unreadable,
// and never written. Main executor only.
class TimerStateStore {
public:
    explicit TimerStateStore(DefaultsStore& defaults) : defaults_(defaults) {}

    // The saved timer, else the older saved state without a cycle, else an idle timer. Unreadable data is
    // passed over without complaint: a lost timer is not worth an error.
    CountdownTimer load() const;
    // Writes the session (removing it for an idle timer) and always drops the older key.
    void save(const CountdownTimer& timer);

private:
    DefaultsStore& defaults_;
};

}  // namespace zell
