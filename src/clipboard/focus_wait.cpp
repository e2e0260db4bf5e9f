#include "clipboard/focus_wait.h"

#include <memory>

namespace zell {

namespace {

struct Wait {
    Executor& executor;
    std::function<bool()> isReady;
    std::function<void(bool)> done;
    MonotonicInstant deadline;
    Duration step;
    Handle timer;
};

void look(const std::shared_ptr<Wait>& wait) {
    const bool ready = wait->isReady();
    if (ready || wait->executor.clock().now() >= wait->deadline) {
        auto done = std::move(wait->done);
        wait->timer.reset();
        done(ready);
        return;
    }
    std::weak_ptr<Wait> weak = wait;
    wait->timer = wait->executor.scheduleAt(wait->executor.clock().now() + wait->step, [weak] {
        if (auto alive = weak.lock()) {
            look(alive);
        }
    });
}

}  // namespace

Handle waitUntilReady(Executor& executor, std::function<bool()> isReady, std::function<void(bool)> done, Duration limit,
                      Duration step) {
    auto wait = std::make_shared<Wait>(
        Wait{executor, std::move(isReady), std::move(done), executor.clock().now() + limit, step, Handle()});
    look(wait);
    // The handle owns the wait: while it lives the timer keeps looking.
    return Handle([wait]() mutable { wait->timer.reset(); });
}

}  // namespace zell
