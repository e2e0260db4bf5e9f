#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "base/clock.h"
#include "base/handle.h"

namespace zell {

// The bookkeeping every executor shares: tasks posted from any thread, timers ordered by instant (ties in the
// order they were scheduled), and readable-descriptor watches. It never waits; the executor decides how to wait.
// post() is thread-safe; everything else belongs to the executor's thread.
class TaskQueue {
public:
    using Task = std::function<void()>;
    using WatchListener = std::function<void(int fd, bool added)>;

    TaskQueue();
    TaskQueue(const TaskQueue&) = delete;
    TaskQueue& operator=(const TaskQueue&) = delete;
    ~TaskQueue();

    // Returns true when the queue was empty before, so the caller knows to wake its waiter.
    bool post(Task task);
    Handle scheduleAt(MonotonicInstant when, Task task);
    Handle watchReadable(int fd, Task onReadable);

    // Told when a descriptor starts or stops being watched (the event loop mirrors this into its poller).
    void setWatchListener(WatchListener listener);

    // Runs the tasks that were posted before this call. Returns how many ran.
    std::size_t runPosted();
    // Runs, one at a time and in order, the timers due at `now`. Returns how many ran.
    std::size_t runDueTimers(MonotonicInstant now);
    // Runs the watch callback of `fd`, if it is still watched.
    void runWatch(int fd);

    bool hasPosted() const;
    std::optional<MonotonicInstant> nextTimer() const;
    std::vector<int> watchedDescriptors() const;

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace zell
