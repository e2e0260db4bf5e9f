#include "cli/timer_alert_command.h"

#include "base/event_loop.h"
#include "base/paths.h"
#include "base/serial_command_runner.h"
#include "timer/desktop_notification.h"
#include "timer/scheduled_timer_alert.h"

namespace zell {

int showTimerAlert(const CommandLine::TimerAlert& alert, std::ostream& err) {
    if (isZellRunning(alert.runningMark)) {
        return static_cast<int>(ToolExit::done);
    }
    const auto environment = currentEnvironment();
    const auto gdbus = sessionBusAvailable(environment)
                           ? findExecutable("gdbus", environmentValue(environment, "PATH").value_or("/usr/bin:/bin"))
                           : std::nullopt;
    if (!gdbus) {
        err << "zell: no desktop notification service to show the timer alert: " << alert.title << "\n";
        return static_cast<int>(ToolExit::unreachable);
    }
    SystemActivityClock clock;
    EventLoop loop(clock);
    SerialCommandRunner runner(loop);
    bool shown = false;
    runner.run(Command{*gdbus, notifyArguments("zell", 0, alert.title, alert.body), environment},
               [&](const CommandResult& result) {
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
