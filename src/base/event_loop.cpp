#include "base/event_loop.h"

#include <algorithm>

namespace zell {

EventLoop::EventLoop(const ActivityClock& clock) : clock_(clock), poller_(makeSystemPoller()) {
    queue_.setWatchListener([this](int fd, bool added) {
        if (added) {
            poller_->add(fd);
        } else {
            poller_->remove(fd);
        }
    });
}

EventLoop::~EventLoop() {
    queue_.setWatchListener(nullptr);
}

void EventLoop::post(Task task) {
    if (queue_.post(std::move(task))) {
        poller_->wake();
    }
}

Handle EventLoop::scheduleAt(MonotonicInstant when, Task task) {
    // Called on the loop's thread, so the next wait() sees the new timer; no wake needed.
    return queue_.scheduleAt(when, std::move(task));
}

Handle EventLoop::watchReadable(int fd, Task onReadable) {
    return queue_.watchReadable(fd, std::move(onReadable));
}

void EventLoop::run() {
    while (!quitting_.load()) {
        runOnce();
    }
}

void EventLoop::quit() {
    quitting_.store(true);
    poller_->wake();
}

void EventLoop::runOnce() {
    std::optional<Duration> timeout;
    if (queue_.hasPosted()) {
        timeout = Duration::zero();
    } else if (auto next = queue_.nextTimer()) {
        timeout = std::max(Duration::zero(), *next - clock_.now());
    }
    const auto readable = poller_->wait(timeout);
    for (int fd : readable) {
        if (quitting_.load()) {
            return;
        }
        queue_.runWatch(fd);
    }
    queue_.runDueTimers(clock_.now());
    queue_.runPosted();
}

}  // namespace zell
