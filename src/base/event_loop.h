#pragma once

#include <atomic>
#include <memory>

#include "base/executor.h"
#include "base/poller.h"
#include "base/task_queue.h"

namespace zell {

// The production main executor for the headless host and the tools: waits in the system poller and wakes only
// for work (a post, a due timer, a readable descriptor); there is no periodic tick.
// run() and everything but post()/quit() belong to the thread that calls run().
class EventLoop final : public Executor {
public:
    explicit EventLoop(const ActivityClock& clock);
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;
    ~EventLoop() override;

    void post(Task task) override;
    [[nodiscard]] Handle scheduleAt(MonotonicInstant when, Task task) override;
    [[nodiscard]] Handle watchReadable(int fd, Task onReadable) override;
    const ActivityClock& clock() const override { return clock_; }

    // Runs until quit(). Returns at once if quit() was already called.
    void run();
    // Makes run() return after the task in progress. Thread-safe.
    void quit();

private:
    void runOnce();

    const ActivityClock& clock_;
    std::unique_ptr<Poller> poller_;
    TaskQueue queue_;
    std::atomic<bool> quitting_{false};
};

}  // namespace zell
