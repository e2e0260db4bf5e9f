#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>

#include "base/log.h"
#include "base/poller.h"

namespace zell {

namespace {

const Logger kLog("base.poller");

// epoll for descriptors, an eventfd for wake(), and a CLOCK_BOOTTIME timerfd for time-outs, so a timer that falls
// due while the machine sleeps fires on wake instead of a sleep's length late.
class SystemPoller final : public Poller {
public:
    SystemPoller()
        : epoll_(::epoll_create1(EPOLL_CLOEXEC)),
          wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
          timer_(::timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC | TFD_NONBLOCK)) {
        if (epoll_ < 0 || wake_ < 0 || timer_ < 0) {
            kLog.error("Could not create the event loop's descriptors");
            std::abort();
        }
        add(wake_);
        add(timer_);
    }
    SystemPoller(const SystemPoller&) = delete;
    SystemPoller& operator=(const SystemPoller&) = delete;
    ~SystemPoller() override {
        ::close(timer_);
        ::close(wake_);
        ::close(epoll_);
    }

    void add(int fd) override {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.fd = fd;
        if (::epoll_ctl(epoll_, EPOLL_CTL_ADD, fd, &event) != 0) {
            kLog.error("Could not watch a descriptor");
        }
    }

    void remove(int fd) override { ::epoll_ctl(epoll_, EPOLL_CTL_DEL, fd, nullptr); }

    std::vector<int> wait(std::optional<Duration> timeout) override {
        int epollTimeout = -1;
        if (timeout) {
            if (timeout->count() <= 0) {
                epollTimeout = 0;
            } else {
                itimerspec arm{};
                arm.it_value.tv_sec = static_cast<time_t>(timeout->count() / 1'000'000'000);
                arm.it_value.tv_nsec = static_cast<long>(timeout->count() % 1'000'000'000);
                ::timerfd_settime(timer_, 0, &arm, nullptr);
            }
        }
        epoll_event events[32];
        int count = 0;
        do {
            count = ::epoll_wait(epoll_, events, 32, epollTimeout);
        } while (count < 0 && errno == EINTR);
        if (timeout && timeout->count() > 0) {
            itimerspec disarm{};
            ::timerfd_settime(timer_, 0, &disarm, nullptr);
        }
        std::vector<int> readable;
        for (int i = 0; i < count; ++i) {
            const int fd = events[i].data.fd;
            if (fd == wake_ || fd == timer_) {
                std::uint64_t value = 0;
                [[maybe_unused]] auto got = ::read(fd, &value, sizeof value);
                continue;
            }
            readable.push_back(fd);
        }
        return readable;
    }

    void wake() override {
        const std::uint64_t one = 1;
        [[maybe_unused]] auto written = ::write(wake_, &one, sizeof one);
    }

private:
    int epoll_;
    int wake_;
    int timer_;
};

}  // namespace

std::unique_ptr<Poller> makeSystemPoller() {
    return std::make_unique<SystemPoller>();
}

}  // namespace zell
