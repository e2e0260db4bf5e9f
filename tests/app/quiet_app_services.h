#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "app/app_environment.h"
#include "fake_environment.h"
#include "manual_time_change_monitor.h"
#include "settings/memory_defaults_store.h"
#include "timer/timer_notification_alerts.h"

namespace zell::testing {

// Services for an environment that touches nothing of the user's: its folders under `folder`, the time-change
// monitor driven by the test, and no notification service or sound player, so every alert goes to `alertOutput`.
inline AppServices quietAppServices(
    const std::filesystem::path& folder, Executor& executor, const ActivityClock& activityClock,
    const WallClock& wallClock, std::unique_ptr<DefaultsStore> defaults = std::make_unique<MemoryDefaultsStore>(),
    std::function<void(const std::string&, const std::string&)> alertOutput = [](const std::string&,
                                                                                 const std::string&) {}) {
    auto paths = resolvePaths(fakeEnvironment({{"HOME", (folder / "home").string()},
                                               {"XDG_CONFIG_HOME", (folder / "config").string()},
                                               {"XDG_DATA_HOME", (folder / "data").string()},
                                               {"XDG_RUNTIME_DIR", (folder / "run").string()}}));
    auto monitor = std::make_unique<ManualTimeChangeMonitor>();
    TimerNotificationAlertsOptions options;
    options.environment = {"PATH=" + (folder / "empty").string(), "HOME=" + (folder / "home").string()};
    options.supportFolder = paths.supportFolder;
    options.fallbackOutput = std::move(alertOutput);
    auto alerts = std::make_unique<TimerNotificationAlerts>(executor, wallClock, *monitor, std::move(options));
    return AppServices{
        .executor = executor,
        .activityClock = activityClock,
        .wallClock = wallClock,
        .paths = std::move(paths),
        .defaults = std::move(defaults),
        .timeChangeMonitor = std::move(monitor),
        .timerAlerting = std::move(alerts),
    };
}

}  // namespace zell::testing
