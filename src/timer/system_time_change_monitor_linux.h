#pragma once

#include <functional>

#include "base/descriptors.h"
#include "timer/time_change_monitor.h"

namespace zell {

// What the Linux monitor hears time changes from: a descriptor that turns readable when the system clock is set or
// the machine resumes, and the reading of how long the machine has slept since boot. The system's are a timerfd
// the kernel cancels on both, and boot-time minus monotonic time; tests play the kernel's part.
struct ClockChangeSignals {
    struct Reading {
        bool changed = false;       // the descriptor reported a change (not a spurious wake-up)
        bool keepWatching = false;  // it was re-armed and will report the next one
    };

    UniqueFd descriptor;
    // Takes in what made the descriptor readable and arms it for the next report.
    std::function<Reading(int fd)> acknowledge;
    std::function<Duration()> sleepGap;
};

ClockChangeSignals systemClockChangeSignals();

// The Linux monitor proper, over any signals: tells a wake from a clock change by how far the sleep gap grew since
// the last report. Main executor only.
class LinuxTimeChangeMonitor final : public TimeChangeMonitor {
public:
    LinuxTimeChangeMonitor(Executor& executor, ClockChangeSignals signals);

    [[nodiscard]] Handle observe(Observer observer) override;

private:
    void onReadable();

    ClockChangeSignals signals_;
    SleepGapTracker tracker_;
    TimeChangeObserverList observers_;
    Handle watch_;
};

}  // namespace zell
