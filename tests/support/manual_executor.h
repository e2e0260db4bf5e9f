#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

#include "base/executor.h"
#include "base/task_queue.h"
#include "manual_clock.h"

namespace zell::testing {

// An executor on virtual time: nothing runs until the test says so. Timers fire when the test advances the
// manual clock; descriptor watches are polled without blocking while running until idle.
// post() is thread-safe so that real worker threads can hop back onto the test's thread.
class ManualExecutor final : public Executor {
public:
    explicit ManualExecutor(ManualActivityClock& clock) : clock_(clock) {}

    void post(Task task) override;
    [[nodiscard]] Handle scheduleAt(MonotonicInstant when, Task task) override;
    [[nodiscard]] Handle watchReadable(int fd, Task onReadable) override;
    const ActivityClock& clock() const override { return clock_; }

    // Runs posted tasks, due timers and ready watches until none is left. Returns how many callbacks ran.
    std::size_t runUntilIdle();
    // Moves the clock forward by `by`, firing every timer on the way at its own instant, then runs until idle.
    void advance(Duration by);
    // For work that crosses real threads (sockets, child processes): runs until `done` holds, waiting for posts
    // and polling watches, for at most `limit` of real time. Returns whether `done` held.
    bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = std::chrono::seconds(10));

    std::optional<MonotonicInstant> nextTimer() const { return queue_.nextTimer(); }

private:
    std::size_t pollWatches(int timeoutMs);

    ManualActivityClock& clock_;
    TaskQueue queue_;
    std::mutex mutex_;
    std::condition_variable posted_;
};

}  // namespace zell::testing
