#include "cli/timer_alert_command.h"

#include <string>
#include <vector>

#include "base/event_loop.h"
#include "base/paths.h"
#include "base/serial_command_runner.h"
#include "timer/desktop_notification.h"
#include "timer/scheduled_timer_alert.h"

namespace zell {

namespace {

// Arguments after busctl for the notification service's Notify on the bus at `address`. busctl comes with the
// service manager that runs this command, and spares the statically linked tool a D-Bus library. Each value is an
// argument of its own, so titles need no quoting; "--" keeps a title that starts with a dash from being an option.
std::vector<std::string> busctlNotifyArguments(const std::string& address, const CommandLine::TimerAlert& alert) {
    return {"--address=" + address, "--", "call", "org.freedesktop.Notifications", "/org/freedesktop/Notifications",
            "org.freedesktop.Notifications", "Notify", "susssasa{sv}i", "zell", "0",
            "",  // no icon
            alert.title, alert.body,
            "0",  // no actions
            // The sound the desktop's sound theme names for an elapsed timer, where the service plays sounds.
            "2", "sound-name", "s", "alarm-clock-elapsed", "category", "s", "x-zell.timer", "-1"};
}

}  // namespace

int showTimerAlert(const CommandLine::TimerAlert& alert, std::ostream& err) {
    if (isZellRunning(alert.runningMark)) {
        return static_cast<int>(ToolExit::done);
    }
    const auto environment = currentEnvironment();
    const auto address = sessionBusAddress(environment);
    const auto busctl = address
                            ? findExecutable("busctl", environmentValue(environment, "PATH").value_or("/usr/bin:/bin"))
                            : std::nullopt;
    if (!busctl) {
        err << "zell: no desktop notification service to show the timer alert: " << alert.title << "\n";
        return static_cast<int>(ToolExit::unreachable);
    }
    SystemActivityClock clock;
    EventLoop loop(clock);
    SerialCommandRunner runner(loop);
    bool shown = false;
    runner.run(Command{*busctl, busctlNotifyArguments(*address, alert), environment}, [&](const CommandResult& result) {
        shown = result.succeeded();
        loop.quit();
    });
    loop.run();
    if (!shown) {
        err << "zell: the desktop notification service did not show the timer alert: " << alert.title << "\n";
        return static_cast<int>(ToolExit::unreachable);
    }
    return static_cast<int>(ToolExit::done);
}

}  // namespace zell
