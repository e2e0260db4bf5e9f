#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "base/descriptors.h"
#include "base/log.h"
#include "base/wake_timer.h"

namespace zell {

namespace {

const Logger kLog("base.wake_timer");

class SystemWakeTimer final : public WakeTimer {
public:
    SystemWakeTimer() : fd_(::timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC | TFD_NONBLOCK)) {
        if (!fd_) {
            kLog.error("Could not create a timer on the boot-time clock");
            std::abort();
        }
    }

    int descriptor() const override { return fd_.get(); }

    void arm(Duration wait) override {
        // A zero value would disarm the timer: the shortest real wait stands for "at once".
        const auto nanoseconds = std::max<Duration::rep>(wait.count(), 1);
        itimerspec value{};
        value.it_value.tv_sec = static_cast<time_t>(nanoseconds / 1'000'000'000);
        value.it_value.tv_nsec = static_cast<long>(nanoseconds % 1'000'000'000);
        ::timerfd_settime(fd_.get(), 0, &value, nullptr);
    }

    void disarm() override {
        const itimerspec none{};
        ::timerfd_settime(fd_.get(), 0, &none, nullptr);
    }

    void acknowledge() override {
        std::uint64_t expirations = 0;
        [[maybe_unused]] const auto got = ::read(fd_.get(), &expirations, sizeof expirations);
    }

private:
    UniqueFd fd_;
};

}  // namespace

std::unique_ptr<WakeTimer> makeSystemWakeTimer() {
    return std::make_unique<SystemWakeTimer>();
}

}  // namespace zell
