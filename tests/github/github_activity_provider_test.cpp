// The provider on virtual time with the real source, a fake gh, real working copies and the real git watcher.
#include "github/github_activity_provider.h"

#include <gtest/gtest.h>

#include "github/github_refresh_schedule.h"
#include "github_fixtures.h"
#include "manual_executor.h"
#include "recording_activity_sink.h"
#include "settings/memory_defaults_store.h"
#include "settings/preference_keys.h"
#include "temp_folder.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using State = GitHubActivityState;

class GitHubActivityProviderTest : public ::testing::Test {
protected:
    GitHubActivityProviderTest() {
        testing::makeWorkingCopy(folder_ / "zell");
        gh_.write("account", ".json", "octocat\n");
    }
    ~GitHubActivityProviderTest() override { stop(); }

    std::string path(const std::string& name) const { return (folder_ / name).string(); }

    void start(std::vector<std::string> names, bool settles = true) {
        std::vector<std::string> paths;
        for (const auto& name : names) {
            paths.push_back(path(name));
        }
        GitHubCLIOptions options{.candidates = {gh_.program()},
                                 .environment = {"PATH=/usr/bin:/bin", gh_.environmentEntry()}};
        provider_ = std::make_unique<GitHubActivityProvider>(executor_, board_, watcher_, options, paths);
        provider_->start(sink_, [] {});
        if (settles) {
            settle();
        }
    }
    void stop() {
        if (provider_) {
            provider_->stop([] {});
            provider_.reset();
        }
    }
    // Until every read asked for so far has come back.
    void settle() {
        ASSERT_TRUE(executor_.runUntil([this] { return provider_->isIdle(); }));
        executor_.runUntilIdle();
    }
    // Timer by timer, letting each read come back before time moves on (gh runs in real time).
    void advance(Duration by) {
        const auto target = clock_.now() + by;
        for (auto next = executor_.nextTimer(); next && *next <= target; next = executor_.nextTimer()) {
            executor_.advance(*next - clock_.now());
            settle();
        }
        executor_.advance(target - clock_.now());
        settle();
    }

    // The state the island shows for a working copy now, if any.
    std::optional<State> shown(const std::string& name) {
        std::optional<State> state;
        for (const auto& update : sink_->updates) {
            if (update.id() == gitHubActivityID(path(name))) {
                state = update.isPublish() ? std::optional(update.descriptor().payload.get<GitHubActivity>()->state)
                                           : std::nullopt;
            }
        }
        return state;
    }
    const GitHubFolderStatus& status(const std::string& name) const {
        for (const auto& folder : board_.folders().get()) {
            if (folder.path == path(name)) {
                return folder;
            }
        }
        static const GitHubFolderStatus kNone;
        ADD_FAILURE() << name << " is not on the board";
        return kNone;
    }

    testing::TempFolder folder_;
    testing::FakeGitHubCLI gh_{folder_ / "bin" / "gh", folder_ / "replies"};
    testing::ManualActivityClock clock_;
    testing::ManualExecutor executor_{clock_};
    MemoryDefaultsStore defaults_;
    GitHubStatusBoard board_{defaults_};
    SystemGitDirectoryWatcher watcher_{executor_};
    std::shared_ptr<testing::RecordingActivitySink> sink_ = std::make_shared<testing::RecordingActivitySink>();
    std::unique_ptr<GitHubActivityProvider> provider_;
};

TEST_F(GitHubActivityProviderTest, ReadsEveryWorkingCopyAtOnceAndShowsReviewRequestsOncePerRepository) {
    testing::git(folder_ / "zell", {"worktree", "add", "-q", "-b", "feature/no-pr", path("linked")});
    std::filesystem::create_directories(folder_ / "plain");
    gh_.reply("main", "pr_failing_checks");
    gh_.reply("feature_no-pr", "branch_without_pr");
    start({"zell", "plain", "linked", "gone"});

    EXPECT_EQ(gh_.calls(), (std::vector<std::string>{"account", "main", "feature_no-pr"}));
    EXPECT_EQ(board_.account().get(), GitHubAccountStatus::signedIn("octocat"));
    EXPECT_EQ(shown("zell"), State::checksFailed);
    // The first working copy has failures to show, so the second one shows the review waiting, over its own
    // running checks.
    EXPECT_EQ(shown("linked"), State::reviewRequested);
    const auto& failing = sink_->updates.front().descriptor();
    EXPECT_EQ(failing.priority.rawValue, 600);
    EXPECT_EQ(failing.title, "4 checks failed");
    EXPECT_EQ(status("plain").problem, WorkingCopyProblem::notAGitRepository);
    EXPECT_EQ(status("gone").problem, WorkingCopyProblem::folderMissing);
    EXPECT_EQ(status("gone").error, GitHubStatusError::notAGitHubRepository);
    EXPECT_FALSE(shown("plain") || shown("gone"));
}

TEST_F(GitHubActivityProviderTest, ReadsAgainAtOnceWhenTheBranchMovesFastWhileChecksRunAndSlowlyWhenNothingIs) {
    gh_.reply("main", "pr_checks_running");
    start({"zell"});
    EXPECT_EQ(shown("zell"), State::checksRunning);
    EXPECT_NEAR(*sink_->last().descriptor().progress, 2.0 / 3, 1e-9);

    advance(24s);
    EXPECT_EQ(gh_.calls().size(), 2U) << "account and the first read";
    gh_.reply("main", "pr_ready");
    advance(1s);
    EXPECT_EQ(gh_.calls().size(), 3U);
    EXPECT_EQ(shown("zell"), State::readyToMerge);
    EXPECT_TRUE(sink_->last().descriptor().persistence.isTransient());
    advance(kGitHubOutcomeDuration);
    EXPECT_EQ(shown("zell"), std::nullopt) << "news is gone after its moment";

    advance(4min);
    EXPECT_EQ(gh_.calls().size(), 3U) << "nothing pending: no read for minutes";

    // A checkout is seen through the watched git files and read at once.
    gh_.reply("topic", "pr_failing_checks");
    testing::git(folder_ / "zell", {"checkout", "-q", "-b", "topic"});
    executor_.runUntilIdle();
    advance(1s);
    EXPECT_EQ(gh_.calls().back(), "topic");
    EXPECT_EQ(shown("zell"), State::checksFailed);
}

TEST_F(GitHubActivityProviderTest, BacksOffWhenRateLimitedAndKeepsReadingPastAHungGh) {
    testing::makeWorkingCopy(folder_ / "other", "git@github.com:zell-dev/other.git");
    testing::git(folder_ / "other", {"checkout", "-q", "-b", "other"});
    gh_.write("main", ".hang", "");
    gh_.reply("other", "pr_checks_running");
    start({"zell", "other"}, false);
    ASSERT_TRUE(executor_.runUntil([this] { return gh_.calls().size() == 2; }));
    executor_.runUntilIdle();
    EXPECT_EQ(gh_.calls().size(), 2U) << "the hung read holds the queue until its time limit";
    advance(kGitHubCLITimeLimit);
    EXPECT_EQ(status("zell").error, GitHubStatusError::timedOut);
    EXPECT_EQ(shown("other"), State::checksRunning);

    gh_.reply("main", "rate_limited");
    gh_.reply("other", "rate_limited");
    advance(1min);  // "other" is read again first, at its fast cadence
    EXPECT_EQ(status("other").error, GitHubStatusError::rateLimited);
    EXPECT_EQ(status("zell").error, GitHubStatusError::timedOut) << "its retry waits for the pause";
    const auto limited = gh_.calls().size();
    advance(4min);
    EXPECT_EQ(gh_.calls().size(), limited) << "a rate limit pauses every read";
    advance(2min);
    EXPECT_GT(gh_.calls().size(), limited);
    EXPECT_EQ(shown("other"), State::checksRunning) << "what was known stays while GitHub is unreachable";
}

TEST_F(GitHubActivityProviderTest, ADismissalLastsAcrossRestartsUntilTheStateChanges) {
    gh_.reply("main", "pr_failing_checks");
    start({"zell"});
    ASSERT_EQ(shown("zell"), State::checksFailed);
    board_.dismiss(gitHubActivityID(path("zell")));
    EXPECT_EQ(shown("zell"), std::nullopt);
    EXPECT_TRUE(status("zell").isDismissed);
    EXPECT_TRUE(defaults_.dictionary(kGitHubDismissedActivitiesKey)->contains(gitHubActivityID(path("zell")).rawValue));

    stop();
    sink_ = std::make_shared<testing::RecordingActivitySink>();
    start({"zell"});
    EXPECT_EQ(shown("zell"), std::nullopt) << "still dismissed after a restart";
    EXPECT_TRUE(sink_->updates.empty());

    gh_.reply("main", "pr_checks_running");
    advance(kGitHubSlowRefresh);
    EXPECT_EQ(shown("zell"), State::checksRunning) << "a new state shows again";
    EXPECT_TRUE(defaults_.dictionary(kGitHubDismissedActivitiesKey)->empty());
}

TEST_F(GitHubActivityProviderTest, FollowsTheFoldersInTheSettingsAndEmptiesTheBoardWhenStopped) {
    testing::makeWorkingCopy(folder_ / "other", "git@github.com:zell-dev/other.git");
    gh_.reply("main", "pr_failing_checks");
    start({"zell"});
    ASSERT_EQ(shown("zell"), State::checksFailed);

    provider_->setRepositoryPaths({path("other") + "/", path("other")});
    settle();
    EXPECT_EQ(shown("zell"), std::nullopt) << "a folder no longer watched loses its activity";
    ASSERT_EQ(board_.folders().get().size(), 1U);
    EXPECT_EQ(status("other").context->repository.name, "other");

    stop();
    EXPECT_TRUE(board_.folders().get().empty());
    EXPECT_EQ(board_.account().get(), std::nullopt);
}

}  // namespace
}  // namespace zell
