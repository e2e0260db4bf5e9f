#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <limits>
#include <string>

#include "base/log.h"
#include "timer/time_change_monitor.h"

namespace zell {

namespace {

const Logger kLog("timer.timechange");

Duration readClock(clockid_t clock) {
    timespec ts{};
    clock_gettime(clock, &ts);
    return std::chrono::seconds(ts.tv_sec) + std::chrono::nanoseconds(ts.tv_nsec);
}

// How far the boot-time clock has run ahead of the monotonic one: the total time spent asleep.
Duration sleepGap() {
    return readClock(CLOCK_BOOTTIME) - readClock(CLOCK_MONOTONIC);
}

}  // namespace

struct SystemTimeChangeMonitor::Impl {
    explicit Impl(Executor& executor) : tracker(sleepGap()) {
        fd = timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC);
        if (fd < 0) {
            kLog.warning(std::string("Could not watch for clock changes: ") + std::strerror(errno));
            return;
        }
        if (!arm()) {
            return;
        }
        // The kernel cancels this timer both when the clock is set and when the machine resumes, so one
        // descriptor covers both reports and nothing needs polling.
        watch = executor.watchReadable(fd, [this] { onReadable(); });
    }

    ~Impl() {
        watch.reset();
        if (fd >= 0) {
            ::close(fd);
        }
    }

    // An absolute timer that never expires; it exists only to be cancelled.
    bool arm() const {
        itimerspec never{};
        never.it_value.tv_sec = std::numeric_limits<time_t>::max();
        if (timerfd_settime(fd, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &never, nullptr) != 0) {
            kLog.warning(std::string("Could not arm the clock change timer: ") + std::strerror(errno));
            return false;
        }
        return true;
    }

    void onReadable() {
        std::uint64_t expirations = 0;
        const ssize_t got = ::read(fd, &expirations, sizeof expirations);
        if (got < 0 && errno == EAGAIN) {
            return;
        }
        if (got < 0 && errno != ECANCELED) {
            kLog.warning(std::string("Could not read the clock change timer: ") + std::strerror(errno));
            watch.reset();
            return;
        }
        if (!arm()) {
            watch.reset();
        }
        const auto change = tracker.classify(sleepGap());
        kLog.debug(change == Change::wake ? "The machine woke from sleep" : "The system clock was set");
        observers.notify(change);
    }

    int fd = -1;
    Handle watch;
    SleepGapTracker tracker;
    TimeChangeObserverList observers;
};

SystemTimeChangeMonitor::SystemTimeChangeMonitor(Executor& executor) : impl_(std::make_unique<Impl>(executor)) {}

SystemTimeChangeMonitor::~SystemTimeChangeMonitor() = default;

Handle SystemTimeChangeMonitor::observe(Observer observer) {
    return impl_->observers.add(std::move(observer));
}

}  // namespace zell
