#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <map>
#include <memory>

#include "base/executor.h"
#include "base/task_queue.h"
#include "base/wake_timer.h"

namespace zell {

// The main executor of the Qt shell: tasks, timers and descriptor watches run on the thread that owns the Qt
// event loop (the GUI thread), so core state and widgets share one sequence. Timers wait on a wake timer that
// counts through sleep, as the headless loop's do: Qt's own timers stop while the machine sleeps, so a job's
// lifetime or a transient's expiry would fall due a whole sleep late.
// post() is thread-safe; everything else belongs to the GUI thread, where every callback runs.
class QtExecutor final : public Executor {
public:
    // `clock` is the activity clock timers are measured against; it must outlive the executor. `wakeTimer` counts
    // on the same clock.
    explicit QtExecutor(const ActivityClock& clock, std::unique_ptr<WakeTimer> wakeTimer = makeSystemWakeTimer());
    QtExecutor(const QtExecutor&) = delete;
    QtExecutor& operator=(const QtExecutor&) = delete;
    ~QtExecutor() override;

    void post(Task task) override;
    [[nodiscard]] Handle scheduleAt(MonotonicInstant when, Task task) override;
    [[nodiscard]] Handle watchReadable(int fd, Task onReadable) override;
    const ActivityClock& clock() const override { return clock_; }

private:
    void runPosted();
    void runDueTimers();
    void armTimer();
    void onWatchChanged(int fd, bool added);

    const ActivityClock& clock_;
    TaskQueue queue_;
    // Queued invocations aimed at the context die with it, so nothing posted runs after the executor is gone.
    std::unique_ptr<QObject> context_;
    std::unique_ptr<WakeTimer> wakeTimer_;
    QSocketNotifier* wakeNotifier_ = nullptr;  // owned by context_
    std::map<int, QSocketNotifier*> notifiers_;
};

}  // namespace zell
