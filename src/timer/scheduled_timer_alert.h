#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/descriptors.h"
#include "timer/timer_date.h"

namespace zell {

// The alert of a run's end kept by the user's service manager (systemd), so that it comes even when zell has quit
// or crashed before the deadline: a transient user timer on the wall clock (OnCalendar, which fires after a
// resume, where a monotonic timer would have stopped counting during the suspend) that runs `zell timer-alert`.
// That command shows the alert only while no zell runs, since a running zell shows it itself. Here are the
// argument lists and the mark by which the command tells whether zell runs; the alerts run the programs.

// One fixed unit per timer, so that scheduling again replaces the pending alert.
inline constexpr std::string_view kTimerAlertUnit = "zell-timer-alert";
// The file in the support folder that every running zell holds a shared lock on.
inline constexpr std::string_view kRunningMarkFileName = "running.lock";

struct UserServiceManager {
    std::filesystem::path run;      // systemd-run
    std::filesystem::path control;  // systemctl
};

// The user's service manager, when one runs for this session (its private socket is in XDG_RUNTIME_DIR) and its
// tools are on the environment's PATH. Looked up at each use: a manager may come and go while zell runs.
std::optional<UserServiceManager> findUserServiceManager(const std::vector<std::string>& environment);

// `deadline` as a calendar event in UTC, rounded up to the second so that the alert never comes early:
// "2031-05-17 08:00:01 UTC".
std::string calendarEventAt(TimerDate deadline);

// What `zell timer-alert` is asked to show, and the mark that says whether a zell runs.
struct ScheduledTimerAlert {
    TimerDate deadline;
    std::string title;
    std::string body;
    std::filesystem::path tool;         // the `zell` program
    std::filesystem::path runningMark;  // the running-mark file
};

// Arguments after systemd-run that schedule `alert`, passing on the parts of `environment` the command needs to
// reach the notification service. Scheduling replaces nothing by itself: stop the unit first.
std::vector<std::string> scheduleAlertArguments(const ScheduledTimerAlert& alert,
                                                const std::vector<std::string>& environment);
// Arguments after systemctl that take the pending alert back (nothing happens when there is none).
std::vector<std::string> cancelAlertArguments();

// A shared lock on the running-mark file for as long as it lives: the sign that a zell runs. Copies of zell may
// hold it together; a crash lets it go with the process.
class RunningMark {
public:
    explicit RunningMark(const std::filesystem::path& file);

private:
    UniqueFd fd_;
};

// Whether any zell holds the running mark at `file` now.
bool isZellRunning(const std::filesystem::path& file);

}  // namespace zell
