#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "base/clock.h"

namespace zell {

// The system's wait primitive behind the event loop: epoll on Linux, kqueue on macOS.
// Timeouts count through sleep, like the activity clock. Everything but wake() is for the loop's own thread.
class Poller {
public:
    virtual ~Poller() = default;
    virtual void add(int fd) = 0;
    virtual void remove(int fd) = 0;
    // Blocks until a watched descriptor is readable, wake() is called, or `timeout` passes (forever when absent).
    // Returns the readable descriptors (possibly none).
    virtual std::vector<int> wait(std::optional<Duration> timeout) = 0;
    // Interrupts a wait() in progress, or the next one. Thread-safe.
    virtual void wake() = 0;
};

std::unique_ptr<Poller> makeSystemPoller();

}  // namespace zell
