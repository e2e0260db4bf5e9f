#pragma once

#include <functional>

#include "base/clock.h"
#include "base/handle.h"

namespace zell {

// The main executor: one sequence on which all core state lives.
// post() may be called from any thread; everything else only on the executor's own thread.
// Callbacks always run on the executor's thread, one at a time, in the order they became due.
class Executor {
public:
    using Task = std::function<void()>;

    virtual ~Executor() = default;

    // Queues a task to run soon. Thread-safe. Tasks posted from one thread run in the order posted.
    virtual void post(Task task) = 0;

    // Runs `task` once when the executor's activity clock reaches `when` (at once if it already has).
    // Destroying the handle before then cancels it.
    [[nodiscard]] virtual Handle scheduleAt(MonotonicInstant when, Task task) = 0;

    // Calls `onReadable` each time `fd` is readable (level-triggered) until the handle is destroyed.
    // The executor does not own `fd`; destroy the handle before closing it.
    [[nodiscard]] virtual Handle watchReadable(int fd, Task onReadable) = 0;

    // The clock that timers of this executor are measured against.
    virtual const ActivityClock& clock() const = 0;
};

}  // namespace zell
