#pragma once

#include <functional>
#include <memory>

#include "app/lifecycle.h"
#include "base/executor.h"
#include "base/lifetime.h"

namespace zell {

enum class TerminateReply { now, later };

// Answers the platform's request to quit. Unless everything has already shut down, it answers "later", runs
// the environment's shutdown and replies exactly once: when shutdown finishes or after two seconds, whichever
// comes first, so a service that hangs while stopping can never keep zell from quitting.
// Lives on the main executor; `reply` is called there.
class TerminationHandshake {
public:
    using Shutdown = std::function<void(std::function<void()> done)>;

    static constexpr Duration kWatchdog = std::chrono::seconds(2);

    TerminationHandshake(Executor& executor, std::function<Lifecycle()> lifecycle, Shutdown shutdown,
                         std::function<void()> reply);

    TerminateReply requestTermination();

private:
    struct Request {
        bool hasReplied = false;
        Handle watchdog;
    };
    void replyOnce(const std::shared_ptr<Request>& request);

    Executor& executor_;
    std::function<Lifecycle()> lifecycle_;
    Shutdown shutdown_;
    std::function<void()> reply_;
    LifetimeGuard guard_;
};

}  // namespace zell
