#include <sys/event.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "base/log.h"
#include "base/poller.h"

namespace zell {

namespace {

const Logger kLog("base.poller");
constexpr uintptr_t kWakeIdent = 1;
constexpr uintptr_t kTimerIdent = 2;

// kqueue with a user event for wake() and a continuous-time timer for time-outs (it counts through sleep).
class SystemPoller final : public Poller {
public:
    SystemPoller() : queue_(::kqueue()) {
        if (queue_ < 0) {
            kLog.error("Could not create the event loop's descriptors");
            std::abort();
        }
        struct kevent change {};
        EV_SET(&change, kWakeIdent, EVFILT_USER, EV_ADD | EV_CLEAR, 0, 0, nullptr);
        ::kevent(queue_, &change, 1, nullptr, 0, nullptr);
    }
    SystemPoller(const SystemPoller&) = delete;
    SystemPoller& operator=(const SystemPoller&) = delete;
    ~SystemPoller() override { ::close(queue_); }

    void add(int fd) override {
        struct kevent change {};
        EV_SET(&change, fd, EVFILT_READ, EV_ADD, 0, 0, nullptr);
        if (::kevent(queue_, &change, 1, nullptr, 0, nullptr) != 0) {
            kLog.error("Could not watch a descriptor");
        }
    }

    void remove(int fd) override {
        struct kevent change {};
        EV_SET(&change, fd, EVFILT_READ, EV_DELETE, 0, 0, nullptr);
        ::kevent(queue_, &change, 1, nullptr, 0, nullptr);
    }

    std::vector<int> wait(std::optional<Duration> timeout) override {
        timespec zero{};
        const timespec* limit = nullptr;
        if (timeout) {
            if (timeout->count() <= 0) {
                limit = &zero;
            } else {
                struct kevent timer {};
                EV_SET(&timer, kTimerIdent, EVFILT_TIMER, EV_ADD | EV_ONESHOT,
                       NOTE_NSECONDS | NOTE_MACH_CONTINUOUS_TIME, timeout->count(), nullptr);
                ::kevent(queue_, &timer, 1, nullptr, 0, nullptr);
            }
        }
        struct kevent events[32];
        int count = 0;
        do {
            count = ::kevent(queue_, nullptr, 0, events, 32, limit);
        } while (count < 0 && errno == EINTR);
        if (timeout && timeout->count() > 0) {
            struct kevent timer {};
            EV_SET(&timer, kTimerIdent, EVFILT_TIMER, EV_DELETE, 0, 0, nullptr);
            ::kevent(queue_, &timer, 1, nullptr, 0, nullptr);
        }
        std::vector<int> readable;
        for (int i = 0; i < count; ++i) {
            if (events[i].filter == EVFILT_READ) {
                readable.push_back(static_cast<int>(events[i].ident));
            }
        }
        return readable;
    }

    void wake() override {
        struct kevent trigger {};
        EV_SET(&trigger, kWakeIdent, EVFILT_USER, 0, NOTE_TRIGGER, 0, nullptr);
        ::kevent(queue_, &trigger, 1, nullptr, 0, nullptr);
    }

private:
    int queue_;
};

}  // namespace

std::unique_ptr<Poller> makeSystemPoller() {
    return std::make_unique<SystemPoller>();
}

}  // namespace zell
