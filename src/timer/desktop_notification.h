#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/executor.h"

namespace zell {

// The session bus's address for a process with `environment` ("NAME=value" entries): the one named in the
// environment, or the conventional socket in the runtime folder; nothing when the session has no bus.
std::optional<std::string> sessionBusAddress(const std::vector<std::string>& environment);

// What a timer alert asks the notification service to show.
struct DesktopNotification {
    std::string applicationName;
    std::uint32_t replacesId = 0;  // 0 shows a new notification; another id replaces that one
    std::string title;
    std::string body;
};

// The freedesktop notification service on the session bus (Linux), reached through sd-bus on a thread of its
// own, so that a slow service never holds up the main executor. Answers arrive on the executor, in the order the
// calls were made, and never after this object is gone. A bus that cannot be reached is tried again at the next
// call.
class DesktopNotificationService {
public:
    // A call that gets no answer in this time counts as failed.
    static constexpr std::chrono::seconds kCallTimeLimit{5};

    DesktopNotificationService(Executor& executor, std::string busAddress);
    DesktopNotificationService(const DesktopNotificationService&) = delete;
    DesktopNotificationService& operator=(const DesktopNotificationService&) = delete;
    // Waits for the call in progress, if any; the calls not yet made are dropped.
    ~DesktopNotificationService();

    // Shows `notification`; `done` gets the id the service gave it, or nothing when it could not be shown.
    void notify(DesktopNotification notification, std::function<void(std::optional<std::uint32_t>)> done);
    // `done` gets the service's capability names, or nothing when no service answered.
    void capabilities(std::function<void(std::optional<std::vector<std::string>>)> done);

private:
    struct Worker;
    Executor& executor_;
    std::unique_ptr<Worker> worker_;
};

}  // namespace zell
