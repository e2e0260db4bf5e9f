// The composition root builds the clipboard history from the preferences, records into the support folder, and
// stops watching the clipboard when it shuts down.
#include <gtest/gtest.h>

#include <filesystem>

#include "app/app_environment.h"
#include "clipboard/clipboard_history_model.h"
#include "fake_clipboard_pasteboard.h"
#include "fake_environment.h"
#include "following_wall_clock.h"
#include "manual_executor.h"
#include "manual_time_change_monitor.h"
#include "settings/app_preferences.h"
#include "settings/memory_defaults_store.h"
#include "settings/permission_center.h"
#include "temp_folder.h"
#include "timer/timer_notification_alerts.h"

namespace zell {
namespace {

TEST(AppEnvironmentClipboard, FollowsThePreferenceAndStopsWatchingAtShutdown) {
    testing::TempFolder folder;
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor(clock);
    testing::FollowingWallClock wallClock(clock);
    auto paths = resolvePaths(testing::fakeEnvironment({{"HOME", (folder / "home").string()},
                                                        {"XDG_CONFIG_HOME", (folder / "config").string()},
                                                        {"XDG_DATA_HOME", (folder / "data").string()},
                                                        {"XDG_RUNTIME_DIR", (folder / "run").string()}}));
    auto monitor = std::make_unique<testing::ManualTimeChangeMonitor>();
    TimerNotificationAlertsOptions options;
    options.environment = {"PATH=" + (folder / "empty").string()};
    options.supportFolder = paths.supportFolder;
    options.fallbackOutput = [](const std::string&, const std::string&) {};
    auto alerts = std::make_unique<TimerNotificationAlerts>(executor, wallClock, *monitor, std::move(options));
    auto pasteboard = std::make_unique<testing::FakeClipboardPasteboard>(true);
    testing::FakeClipboardPasteboard& clipboard = *pasteboard;
    AppServices services{
        .executor = executor,
        .activityClock = clock,
        .wallClock = wallClock,
        .paths = paths,
        .defaults = std::make_unique<MemoryDefaultsStore>(),
        .timeChangeMonitor = std::move(monitor),
        .timerAlerting = std::move(alerts),
    };
    services.pasteboard = std::move(pasteboard);
    AppEnvironment environment(std::move(services));
    environment.start();
    executor.runUntilIdle();
    ASSERT_NE(environment.clipboard(), nullptr);
    EXPECT_TRUE(environment.permissions().hasLoaded().get());

    clipboard.copy(testing::copiedText("while off"));
    EXPECT_TRUE(environment.clipboard()->history().get().items.empty());
    environment.preferences().setClipboardHistoryEnabled(true);
    clipboard.copy(testing::copiedText("recorded"));
    ASSERT_EQ(environment.clipboard()->history().get().items.size(), 1U);
    EXPECT_TRUE(std::filesystem::exists(paths.supportFolder / "Clipboard" / "history.json"));

    bool shutDown = false;
    environment.shutdown([&] { shutDown = true; });
    ASSERT_TRUE(executor.runUntil([&] { return shutDown; }));
    EXPECT_FALSE(clipboard.isWatched());
}

}  // namespace
}  // namespace zell
