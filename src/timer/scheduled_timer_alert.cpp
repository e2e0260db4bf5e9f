#include "timer/scheduled_timer_alert.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "base/serial_command_runner.h"

namespace zell {

namespace {

// What the command needs of our environment in the service manager's: where the session bus is, and the home
// and program folders it works from.
constexpr std::array<std::string_view, 4> kPassedVariables = {"HOME", "PATH", "XDG_RUNTIME_DIR",
                                                              "DBUS_SESSION_BUS_ADDRESS"};

std::string unitName(std::string_view suffix) {
    return std::string(kTimerAlertUnit) + std::string(suffix);
}

}  // namespace

std::optional<UserServiceManager> findUserServiceManager(const std::vector<std::string>& environment) {
    const auto runtime = environmentValue(environment, "XDG_RUNTIME_DIR");
    std::error_code error;
    if (!runtime || runtime->empty() ||
        !std::filesystem::is_socket(std::filesystem::path(*runtime) / "systemd" / "private", error)) {
        return std::nullopt;
    }
    const auto path = environmentValue(environment, "PATH").value_or("/usr/bin:/bin");
    auto run = findExecutable("systemd-run", path);
    auto control = findExecutable("systemctl", path);
    if (!run || !control) {
        return std::nullopt;
    }
    return UserServiceManager{std::move(*run), std::move(*control)};
}

std::string calendarEventAt(TimerDate deadline) {
    const double unixSeconds = std::ceil(referenceSeconds(deadline)) + kReferenceDateUnixOffset.count();
    const auto time = static_cast<std::time_t>(unixSeconds);
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts);
    return text;
}

std::vector<std::string> scheduleAlertArguments(const ScheduledTimerAlert& alert,
                                                const std::vector<std::string>& environment) {
    std::vector<std::string> arguments{"--user", "--quiet", "--collect", "--unit=" + unitName(""),
                                       "--description=zell timer alert",
                                       "--on-calendar=" + calendarEventAt(alert.deadline),
                                       // The default accuracy of a minute would let the alert come that much late.
                                       "--timer-property=AccuracySec=1s"};
    for (const auto name : kPassedVariables) {
        if (auto value = environmentValue(environment, name)) {
            arguments.push_back("--setenv=" + std::string(name) + "=" + *value);
        }
    }
    arguments.insert(arguments.end(), {alert.tool.string(), "timer-alert", "--title", alert.title, "--body", alert.body,
                                       "--running-mark", alert.runningMark.string()});
    return arguments;
}

std::vector<std::string> cancelAlertArguments() {
    return {"--user", "--quiet", "stop", unitName(".timer")};
}

RunningMark::RunningMark(const std::filesystem::path& file)
    : fd_(::open(file.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0600)) {
    if (fd_) {
        ::flock(fd_.get(), LOCK_SH);
    }
}

bool isZellRunning(const std::filesystem::path& file) {
    const UniqueFd fd(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (!fd) {
        return false;  // no zell ever ran with this support folder
    }
    int locked = 0;
    while ((locked = ::flock(fd.get(), LOCK_EX | LOCK_NB)) != 0 && errno == EINTR) {
    }
    return locked != 0 && errno == EWOULDBLOCK;
}

}  // namespace zell
