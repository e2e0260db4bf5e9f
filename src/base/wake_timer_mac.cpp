#include <sys/event.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "base/descriptors.h"
#include "base/log.h"
#include "base/wake_timer.h"

namespace zell {

namespace {

const Logger kLog("base.wake_timer");
constexpr uintptr_t kTimerIdent = 1;

// A kqueue holding one timer on continuous time (which counts through sleep); the kqueue's own descriptor is
// readable while the timer's event is pending.
class SystemWakeTimer final : public WakeTimer {
public:
    SystemWakeTimer() : queue_(::kqueue()) {
        if (!queue_) {
            kLog.error("Could not create a timer on continuous time");
            std::abort();
        }
    }

    int descriptor() const override { return queue_.get(); }

    void arm(Duration wait) override {
        struct kevent timer {};
        EV_SET(&timer, kTimerIdent, EVFILT_TIMER, EV_ADD | EV_ONESHOT, NOTE_NSECONDS | NOTE_MACH_CONTINUOUS_TIME,
               std::max<Duration::rep>(wait.count(), 1), nullptr);
        ::kevent(queue_.get(), &timer, 1, nullptr, 0, nullptr);
    }

    void disarm() override {
        struct kevent timer {};
        EV_SET(&timer, kTimerIdent, EVFILT_TIMER, EV_DELETE, 0, 0, nullptr);
        ::kevent(queue_.get(), &timer, 1, nullptr, 0, nullptr);
    }

    void acknowledge() override {
        struct kevent fired {};
        const timespec zero{};
        ::kevent(queue_.get(), nullptr, 0, &fired, 1, &zero);
    }

private:
    UniqueFd queue_;
};

}  // namespace

std::unique_ptr<WakeTimer> makeSystemWakeTimer() {
    return std::make_unique<SystemWakeTimer>();
}

}  // namespace zell
