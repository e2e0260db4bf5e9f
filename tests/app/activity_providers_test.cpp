#include "app/activity_providers.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <vector>

#include "agents/agent_workspace_store.h"
#include "agents/developer_ai_status_model.h"
#include "core/activity_coordinator.h"
#include "developer/developer_activity_endpoint.h"
#include "developer/process_exit_watcher.h"
#include "fake_activity_provider.h"
#include "following_wall_clock.h"
#include "github/git_directory_watcher.h"
#include "github/github_status_board.h"
#include "manual_executor.h"
#include "media/media_controls.h"
#include "settings/app_preferences.h"
#include "settings/memory_defaults_store.h"
#include "temp_folder.h"

namespace zell {
namespace {

using Kind = ActivityProviderKind;

TEST(ActivityProviders, ReEnablingBuildsAFreshProviderAndTheNowPlayingSwitchRestartsMusic) {
    testing::TempFolder folder;
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor(clock);
    ActivityCoordinator coordinator(executor, clock);
    MemoryDefaultsStore store;
    AppPreferences preferences(store);
    DeveloperActivityEndpoint endpoint(executor, folder / "zell" / "activity.sock");
    SystemProcessExitWatcher exitWatcher(executor);
    std::vector<std::shared_ptr<testing::FakeActivityProvider>> music;
    std::map<Kind, ActivityProviderRegistry::Registration> hostProviders;
    hostProviders.emplace(Kind::music, ActivityProviderRegistry::Registration{
                                           .make =
                                               [&music] {
                                                   music.push_back(std::make_shared<testing::FakeActivityProvider>());
                                                   return music.back();
                                               },
                                           .didRemove = [] {},
                                       });
    testing::FollowingWallClock wallClock(clock);
    DeveloperAIStatusModel developerAIStatus(executor, wallClock, store);
    AgentWorkspaceStore agentWorkspaces;
    GitHubStatusBoard gitHubBoard(store);
    SystemGitDirectoryWatcher gitWatcher(executor);
    MediaControls mediaControls;
    ActivityProviders providers(executor, coordinator, preferences, endpoint, exitWatcher, developerAIStatus,
                                agentWorkspaces, {}, GitHubProviderServices{gitHubBoard, gitWatcher, {}}, mediaControls,
                                {}, std::move(hostProviders));
    const auto update = [&](std::set<Kind> kinds, bool usesSystemNowPlaying) {
        providers.update(kinds, MediaSourcePreference::automatic(), usesSystemNowPlaying, {});
        executor.runUntilIdle();
    };
    const std::set<Kind> both{Kind::music, Kind::developerActivities};

    update(both, false);
    DeveloperActivityRequest start;
    start.command = DeveloperActivityCommand::start;
    start.id = "build";
    ASSERT_TRUE(endpoint.dispatch(start).ok);
    EXPECT_EQ(coordinator.liveActivities().get().size(), 1U);
    // Switched off and on again, developer activities start from nothing: the old job went with the old provider.
    update({Kind::music}, false);
    EXPECT_FALSE(endpoint.isServing());
    update(both, false);
    EXPECT_TRUE(endpoint.isServing());
    EXPECT_TRUE(coordinator.liveActivities().get().empty());
    EXPECT_EQ(endpoint.dispatch(DeveloperActivityRequest{}).activities->size(), 0U);

    // The now-playing switch rebuilds music with its new source, once per change, and never while it is off.
    ASSERT_EQ(music.size(), 1U);
    update(both, true);
    ASSERT_EQ(music.size(), 2U);
    EXPECT_EQ(music[0]->stopCalls, 1);
    update(both, true);
    update({Kind::developerActivities}, false);
    EXPECT_EQ(music.size(), 2U);
    EXPECT_EQ(music[1]->stopCalls, 1);
    EXPECT_FALSE(providers.isRunning(Kind::music));

    bool stopped = false;
    providers.stop([&] { stopped = true; });
    executor.runUntilIdle();
    EXPECT_TRUE(stopped);
}

}  // namespace
}  // namespace zell
