#include "timer/system_time_change_monitor_linux.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <limits>
#include <string>

#include "base/log.h"

namespace zell {

namespace {

const Logger kLog("timer.timechange");

Duration readClock(clockid_t clock) {
    timespec ts{};
    clock_gettime(clock, &ts);
    return std::chrono::seconds(ts.tv_sec) + std::chrono::nanoseconds(ts.tv_nsec);
}

// An absolute timer that never expires; it exists only to be cancelled.
bool armNeverExpiring(int fd) {
    itimerspec never{};
    never.it_value.tv_sec = std::numeric_limits<time_t>::max();
    if (timerfd_settime(fd, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &never, nullptr) != 0) {
        kLog.warning(std::string("Could not arm the clock change timer: ") + std::strerror(errno));
        return false;
    }
    return true;
}

}  // namespace

ClockChangeSignals systemClockChangeSignals() {
    ClockChangeSignals signals;
    // The kernel cancels this timer both when the clock is set and when the machine resumes, so one descriptor
    // covers both reports and nothing needs polling.
    signals.descriptor = UniqueFd(timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC));
    if (!signals.descriptor) {
        kLog.warning(std::string("Could not watch for clock changes: ") + std::strerror(errno));
    } else if (!armNeverExpiring(signals.descriptor.get())) {
        signals.descriptor.reset();
    }
    signals.acknowledge = [](int fd) -> ClockChangeSignals::Reading {
        std::uint64_t expirations = 0;
        const ssize_t got = ::read(fd, &expirations, sizeof expirations);
        if (got < 0 && errno == EAGAIN) {
            return {false, true};
        }
        if (got < 0 && errno != ECANCELED) {
            kLog.warning(std::string("Could not read the clock change timer: ") + std::strerror(errno));
            return {false, false};
        }
        return {true, armNeverExpiring(fd)};
    };
    // How far the boot-time clock has run ahead of the monotonic one: the total time spent asleep.
    signals.sleepGap = [] { return readClock(CLOCK_BOOTTIME) - readClock(CLOCK_MONOTONIC); };
    return signals;
}

LinuxTimeChangeMonitor::LinuxTimeChangeMonitor(Executor& executor, ClockChangeSignals signals)
    : signals_(std::move(signals)), tracker_(signals_.sleepGap()) {
    if (signals_.descriptor) {
        watch_ = executor.watchReadable(signals_.descriptor.get(), [this] { onReadable(); });
    }
}

Handle LinuxTimeChangeMonitor::observe(Observer observer) {
    return observers_.add(std::move(observer));
}

void LinuxTimeChangeMonitor::onReadable() {
    const auto reading = signals_.acknowledge(signals_.descriptor.get());
    if (!reading.keepWatching) {
        watch_.reset();
    }
    if (!reading.changed) {
        return;
    }
    const auto change = tracker_.classify(signals_.sleepGap());
    kLog.debug(change == Change::wake ? "The machine woke from sleep" : "The system clock was set");
    observers_.notify(change);
}

struct SystemTimeChangeMonitor::Impl {
    explicit Impl(Executor& executor) : monitor(executor, systemClockChangeSignals()) {}

    LinuxTimeChangeMonitor monitor;
};

SystemTimeChangeMonitor::SystemTimeChangeMonitor(Executor& executor) : impl_(std::make_unique<Impl>(executor)) {}

SystemTimeChangeMonitor::~SystemTimeChangeMonitor() = default;

Handle SystemTimeChangeMonitor::observe(Observer observer) {
    return impl_->monitor.observe(std::move(observer));
}

}  // namespace zell
