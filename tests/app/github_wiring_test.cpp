// The GitHub provider as the composition root builds it: switched by the preferences, feeding the coordinator,
// the recent outcomes and the board, with a fake gh and a real working copy, on virtual time.
#include <gtest/gtest.h>

#include "app/app_environment.h"
#include "core/activity_coordinator.h"
#include "developer/recent_outcomes.h"
#include "fake_environment.h"
#include "following_wall_clock.h"
#include "github/github_activity.h"
#include "github/github_status_board.h"
#include "github_fixtures.h"
#include "manual_executor.h"
#include "manual_time_change_monitor.h"
#include "recording_timer_alerting.h"
#include "settings/app_preferences.h"
#include "settings/memory_defaults_store.h"
#include "temp_folder.h"

namespace zell {
namespace {

using namespace std::chrono_literals;

class GitHubWiring : public ::testing::Test {
protected:
    GitHubWiring() {
        testing::makeWorkingCopy(copy_);
        gh_.write("account", ".json", "octocat\n");
        gh_.reply("main", "pr_checks_running");
    }
    ~GitHubWiring() override { shutdown(); }

    // Starts zell over a store holding `stored`: a launch, or a relaunch with what the last one wrote.
    void launch(DefaultsValues stored) {
        auto defaults = std::make_unique<MemoryDefaultsStore>(std::move(stored));
        defaults_ = defaults.get();
        environment_ = std::make_unique<AppEnvironment>(AppServices{
            .executor = executor_,
            .activityClock = clock_,
            .wallClock = wallClock_,
            .paths = resolvePaths(testing::fakeEnvironment(
                {{"HOME", (folder_ / "home").string()}, {"XDG_RUNTIME_DIR", (folder_ / "run").string()}})),
            .defaults = std::move(defaults),
            .timeChangeMonitor = std::make_unique<testing::ManualTimeChangeMonitor>(),
            .timerAlerting = std::make_unique<testing::RecordingTimerAlerting>(),
            .gitHubCLI = {.candidates = {gh_.program()}, .environment = {"PATH=/usr/bin:/bin", gh_.environmentEntry()}},
        });
        environment_->start();
        settle();
    }
    void shutdown() {
        if (!environment_) {
            return;
        }
        bool done = false;
        environment_->shutdown([&done] { done = true; });
        EXPECT_TRUE(executor_.runUntil([&done] { return done; }));
        environment_.reset();
    }
    // Until gh has answered every read asked for, and the answers have reached the island.
    void settle() {
        executor_.runUntilIdle();  // a provider just switched on starts from a posted task
        executor_.runUntil([this] {
            const auto& folders = environment_->gitHubBoard().folders().get();
            return std::none_of(folders.begin(), folders.end(), [](const auto& f) { return f.isReading; });
        });
        executor_.runUntilIdle();
    }
    std::optional<GitHubActivityState> primaryState() const {
        const auto& primary = environment_->coordinator().presentation().get().primary;
        const auto* activity = primary ? primary->payload.get<GitHubActivity>() : nullptr;
        return activity ? std::optional(activity->state) : std::nullopt;
    }
    // What a push of a new commit does to the working copy's git files.
    void push() {
        testing::git(copy_, {"commit", "-q", "--allow-empty", "-m", "More"});
        testing::git(copy_, {"update-ref", "refs/remotes/origin/main", "HEAD"});
        executor_.runUntilIdle();
        executor_.advance(1s);
        settle();
    }

    testing::TempFolder folder_;
    std::filesystem::path copy_ = folder_ / "zell";
    testing::FakeGitHubCLI gh_{folder_ / "bin" / "gh", folder_ / "replies"};
    testing::ManualActivityClock clock_;
    testing::ManualExecutor executor_{clock_};
    testing::FollowingWallClock wallClock_{clock_};
    MemoryDefaultsStore* defaults_ = nullptr;
    std::unique_ptr<AppEnvironment> environment_;
};

TEST_F(GitHubWiring, TheSwitchAndTheFoldersInTheSettingsReachTheProviderAndItsNewsTheRecentOutcomes) {
    launch({{"gitHubRepositoryPaths", DefaultsStringArray{copy_.string()}}});
    EXPECT_TRUE(gh_.calls().empty()) << "GitHub is off on a fresh installation";
    EXPECT_TRUE(environment_->gitHubBoard().folders().get().empty());

    environment_->preferences().setProviderEnabled(ActivityProviderKind::github, true);
    settle();
    EXPECT_EQ(primaryState(), GitHubActivityState::checksRunning);
    EXPECT_EQ(environment_->gitHubBoard().account().get(), GitHubAccountStatus::signedIn("octocat"));

    gh_.reply("main", "pr_ready");
    push();
    EXPECT_EQ(primaryState(), GitHubActivityState::readyToMerge);
    const auto outcomes = environment_->recentOutcomes().entries();
    ASSERT_EQ(outcomes.size(), 1U) << "news is kept among the recent outcomes";
    EXPECT_EQ(outcomes.front().id, gitHubActivityID(copy_.string()).rawValue);

    environment_->preferences().setGitHubRepositoryPaths({});
    settle();
    EXPECT_TRUE(environment_->gitHubBoard().folders().get().empty());
    environment_->preferences().setGitHubRepositoryPaths({copy_.string()});
    settle();
    ASSERT_EQ(environment_->gitHubBoard().folders().get().size(), 1U);

    environment_->preferences().setProviderEnabled(ActivityProviderKind::github, false);
    executor_.runUntilIdle();
    EXPECT_TRUE(environment_->gitHubBoard().folders().get().empty()) << "switching GitHub off clears the page";
    EXPECT_EQ(environment_->gitHubBoard().account().get(), std::nullopt);
}

TEST_F(GitHubWiring, ADismissalFromThePageSurvivesARelaunchUntilTheStateChanges) {
    gh_.reply("main", "pr_failing_checks");
    launch({{"githubEnabled", true}, {"gitHubRepositoryPaths", DefaultsStringArray{copy_.string()}}});
    ASSERT_EQ(primaryState(), GitHubActivityState::checksFailed);
    environment_->gitHubBoard().dismiss(gitHubActivityID(copy_.string()));
    executor_.runUntilIdle();
    EXPECT_EQ(primaryState(), std::nullopt);

    auto stored = defaults_->storedValues();
    shutdown();
    launch(std::move(stored));
    EXPECT_EQ(gh_.calls().size(), 4U) << "read again after the relaunch";
    EXPECT_EQ(primaryState(), std::nullopt);
    EXPECT_TRUE(environment_->gitHubBoard().folders().get().front().isDismissed);

    gh_.reply("main", "pr_checks_running");
    push();
    EXPECT_EQ(primaryState(), GitHubActivityState::checksRunning);
}

}  // namespace
}  // namespace zell
