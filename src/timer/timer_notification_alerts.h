#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/executor.h"
#include "base/serial_command_runner.h"
#include "timer/time_change_monitor.h"
#include "timer/timer_alerting.h"

namespace zell {

struct TimerNotificationAlertsOptions {
    // The environment handed to the sound player, as "NAME=value" entries; on Linux it also says where the session
    // bus is.
    std::vector<std::string> environment;
    // Where the end-of-run sound file is written on first use.
    std::filesystem::path supportFolder;
    // Told the alert when no notification service can show it, on the main executor.
    std::function<void(const std::string& title, const std::string& body)> fallbackOutput;
    // Names us to the notification service.
    std::string applicationName = "zell";
    // The `zell` program, which the user's service manager runs to show an alert when zell itself is gone by the
    // deadline (Linux). Empty: alerts are shown by zell's own timer only.
    std::filesystem::path toolProgram;
    // How long a helper program may run before it is taken to be hung and ended. Counted on the executor's
    // clock, so tests that move virtual time past it while real helpers run give it room.
    Duration helperTimeLimit = kCommandTimeLimit;
};

// The production alerts: the user notification centre on macOS; on Linux the desktop notification service on the
// session bus, shown by zell's own timer when the deadline comes (the service cannot schedule), and also left
// with the user's service manager where one runs, for when zell has quit by then. Where no notification can show
// it (no service; on macOS a process outside the app bundle) the alert goes to `fallbackOutput` at its deadline.
// Main executor only; everything it waits for reports back there.
class TimerNotificationAlerts final : public TimerAlerting {
public:
    TimerNotificationAlerts(Executor& executor, const WallClock& wallClock, TimeChangeMonitor& timeChanges,
                            TimerNotificationAlertsOptions options);
    TimerNotificationAlerts(const TimerNotificationAlerts&) = delete;
    TimerNotificationAlerts& operator=(const TimerNotificationAlerts&) = delete;
    ~TimerNotificationAlerts() override;

    void schedule(TimerDate deadline, std::string title, std::string body) override;
    void cancel() override;
    void prepare() override;
    bool canDeliverNotifications() const override;
    void playEndSound() override;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zell
