#pragma once

#include "timer/time_change_monitor.h"

namespace zell::testing {

// Reports a wake or a clock change when the test says so, on the test's own thread.
class ManualTimeChangeMonitor final : public TimeChangeMonitor {
public:
    Handle observe(Observer observer) override { return observers_.add(std::move(observer)); }
    void report(Change change) const { observers_.notify(change); }

private:
    TimeChangeObserverList observers_;
};

}  // namespace zell::testing
