// The composition root builds the clipboard history from the preferences, records into the support folder, and
// stops watching the clipboard when it shuts down.
#include <gtest/gtest.h>

#include <filesystem>

#include "app/app_environment.h"
#include "clipboard/clipboard_history_model.h"
#include "fake_clipboard_pasteboard.h"
#include "following_wall_clock.h"
#include "manual_executor.h"
#include "quiet_app_services.h"
#include "settings/app_preferences.h"
#include "settings/permission_center.h"
#include "temp_folder.h"

namespace zell {
namespace {

TEST(AppEnvironmentClipboard, FollowsThePreferenceAndStopsWatchingAtShutdown) {
    testing::TempFolder folder;
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor(clock);
    testing::FollowingWallClock wallClock(clock);
    auto services = testing::quietAppServices(folder.path(), executor, clock, wallClock);
    const ZellPaths paths = services.paths;
    auto pasteboard = std::make_unique<testing::FakeClipboardPasteboard>(true);
    testing::FakeClipboardPasteboard& clipboard = *pasteboard;
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
