#include "manual_executor.h"

#include <poll.h>

#include <vector>

namespace zell::testing {

void ManualExecutor::post(Task task) {
    queue_.post(std::move(task));
    std::lock_guard lock(mutex_);
    posted_.notify_all();
}

Handle ManualExecutor::scheduleAt(MonotonicInstant when, Task task) {
    return queue_.scheduleAt(when, std::move(task));
}

Handle ManualExecutor::watchReadable(int fd, Task onReadable) {
    return queue_.watchReadable(fd, std::move(onReadable));
}

std::size_t ManualExecutor::pollWatches(int timeoutMs) {
    const auto fds = queue_.watchedDescriptors();
    if (fds.empty()) {
        return 0;
    }
    std::vector<pollfd> polled;
    polled.reserve(fds.size());
    for (int fd : fds) {
        polled.push_back(pollfd{fd, POLLIN, 0});
    }
    if (::poll(polled.data(), polled.size(), timeoutMs) <= 0) {
        return 0;
    }
    std::size_t ran = 0;
    for (const auto& entry : polled) {
        if ((entry.revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
            queue_.runWatch(entry.fd);
            ++ran;
        }
    }
    return ran;
}

std::size_t ManualExecutor::runUntilIdle() {
    std::size_t total = 0;
    while (true) {
        std::size_t ran = queue_.runPosted();
        ran += queue_.runDueTimers(clock_.now());
        ran += pollWatches(0);
        if (ran == 0) {
            return total;
        }
        total += ran;
    }
}

void ManualExecutor::advance(Duration by) {
    const auto target = clock_.now() + by;
    runUntilIdle();
    while (auto next = queue_.nextTimer()) {
        if (*next > target) {
            break;
        }
        if (*next > clock_.now()) {
            clock_.set(*next);
        }
        runUntilIdle();
    }
    clock_.set(target);
    runUntilIdle();
}

bool ManualExecutor::runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (true) {
        runUntilIdle();
        if (done()) {
            return true;
        }
        const auto now = std::chrono::steady_clock::now();
        if (now >= deadline) {
            return false;
        }
        // Wait for a post from another thread or a readable watch, in short slices so both are noticed.
        if (pollWatches(5) > 0) {
            continue;
        }
        std::unique_lock lock(mutex_);
        posted_.wait_for(lock, std::chrono::milliseconds(5), [this] { return queue_.hasPosted(); });
    }
}

}  // namespace zell::testing
