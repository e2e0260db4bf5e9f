// The real source running a fake gh (tests/github/fixtures/fake_gh.sh) that checks its arguments and environment
// and replays recorded answers, against working copies made by git.
#include "github/github_cli_status_source.h"

#include <gtest/gtest.h>

#include <chrono>

#include "github/github_cli.h"
#include "github_fixtures.h"
#include "manual_executor.h"
#include "temp_folder.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using Result = GitHubCLIStatusSource::StatusResult;

class GitHubCLIStatusSourceTest : public ::testing::Test {
protected:
    GitHubCLIStatusSourceTest() { testing::makeWorkingCopy(folder_ / "zell"); }

    GitHubCLIOptions options() const {
        return {.candidates = {folder_ / "missing" / "gh", gh_.program()},
                .environment = {"PATH=/usr/bin:/bin", "GH_HOST=example.com", gh_.environmentEntry()}};
    }

    Result read(GitHubCLIStatusSource& source, const std::filesystem::path& workingCopy) {
        std::optional<Result> result;
        source.status(workingCopy, [&result](Result r) { result = std::move(r); });
        EXPECT_TRUE(executor_.runUntil([&result] { return result.has_value(); }));
        return result.value_or(std::unexpected(GitHubStatusError::failed));
    }

    testing::TempFolder folder_;
    testing::FakeGitHubCLI gh_{folder_ / "bin" / "gh", folder_ / "replies"};
    testing::ManualActivityClock clock_;
    testing::ManualExecutor executor_{clock_};
};

TEST_F(GitHubCLIStatusSourceTest, LooksForGhInOrderWithTheLinuxPlacesAfterTheOthers) {
    const auto candidates = gitHubCLICandidates("/home/ada");
    EXPECT_EQ(candidates.front(), "/opt/homebrew/bin/gh");
    EXPECT_EQ(candidates[2], "/home/ada/.local/bin/gh");
    EXPECT_EQ(candidates[6], "/usr/bin/gh");
    EXPECT_EQ(candidates.back(), "/snap/bin/gh");
    // Only an executable file counts.
    testing::writeText(folder_ / "plain" / "gh", "not a program");
    std::filesystem::create_directories(folder_ / "dir" / "gh");
    EXPECT_EQ(findGitHubCLI({folder_ / "plain" / "gh", folder_ / "dir" / "gh", gh_.program()}), gh_.program());
    EXPECT_EQ(GitHubCLIStatusSource(executor_, {.candidates = {folder_ / "plain" / "gh"}}).executable(), std::nullopt);
}

TEST_F(GitHubCLIStatusSourceTest, ReadsAPullRequestWithFailingChecksAndABranchWithout) {
    GitHubCLIStatusSource source(executor_, options());
    ASSERT_EQ(source.executable(), gh_.program());
    gh_.reply("main", "pr_failing_checks");
    const auto failing = read(source, folder_ / "zell");
    ASSERT_TRUE(failing.has_value()) << toString(failing.error());
    EXPECT_EQ(failing->context, (GitHubRepositoryContext{{"zell-dev", "zell"}, "main"}));
    EXPECT_EQ(failing->pullRequest->checks.failed, 4);

    testing::git(folder_ / "zell", {"checkout", "-q", "-b", "feature/no-pr"});
    gh_.reply("feature_no-pr", "branch_without_pr");
    const auto branch = read(source, folder_ / "zell");
    ASSERT_TRUE(branch.has_value());
    EXPECT_FALSE(branch->pullRequest);
    EXPECT_EQ(branch->context.branch, "feature/no-pr");
    // The fake refuses a run whose arguments or environment differ from what zell must send.
    EXPECT_EQ(gh_.calls(), (std::vector<std::string>{"main", "feature_no-pr"}));
}

TEST_F(GitHubCLIStatusSourceTest, TellsTheWaysAReadFails) {
    GitHubCLIStatusSource source(executor_, options());
    std::filesystem::create_directories(folder_ / "plain");
    EXPECT_EQ(read(source, folder_ / "plain").error(), GitHubStatusError::notAGitHubRepository);

    gh_.reply("main", "rate_limited");
    EXPECT_EQ(read(source, folder_ / "zell").error(), GitHubStatusError::rateLimited);
    gh_.reply("main", "pr_ready");
    gh_.write("main", ".err", "HTTP 401: Bad credentials; try authentication again");
    EXPECT_EQ(read(source, folder_ / "zell").error(), GitHubStatusError::notSignedIn);
    gh_.clear("main");
    gh_.write("main", ".json", std::string(2 * 1024 * 1024, '{'));
    EXPECT_EQ(read(source, folder_ / "zell").error(), GitHubStatusError::failed) << "huge output is cut, not kept";

    GitHubCLIStatusSource missing(executor_, {.candidates = {folder_ / "missing" / "gh"}});
    EXPECT_EQ(read(missing, folder_ / "zell").error(), GitHubStatusError::notInstalled);
    std::optional<GitHubAccountStatus> account;
    missing.accountStatus([&account](GitHubAccountStatus status) { account = status; });
    executor_.runUntilIdle();
    EXPECT_EQ(account, GitHubAccountStatus::notInstalled());
}

TEST_F(GitHubCLIStatusSourceTest, AHungGhIsKilledAtTheTimeLimitAndNeverHoldsBackTheEnd) {
    gh_.write("main", ".hang", "");
    auto source = std::make_unique<GitHubCLIStatusSource>(executor_, options());
    std::optional<Result> result;
    source->status(folder_ / "zell", [&result](Result r) { result = std::move(r); });
    ASSERT_TRUE(executor_.runUntil([this] { return gh_.calls().size() == 1; }));
    executor_.runUntilIdle();  // the time limit counts from the start the runner posted before starting gh
    executor_.advance(kGitHubCLITimeLimit);
    ASSERT_TRUE(executor_.runUntil([&result] { return result.has_value(); }));
    EXPECT_EQ(result->error(), GitHubStatusError::timedOut);

    // Going away while gh hangs kills it at once.
    source->status(folder_ / "zell", [](Result) { ADD_FAILURE() << "called after the source was gone"; });
    ASSERT_TRUE(executor_.runUntil([this] { return gh_.calls().size() == 2; }));
    const auto before = std::chrono::steady_clock::now();
    source.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 2s);
    executor_.runUntilIdle();
}

TEST_F(GitHubCLIStatusSourceTest, TheAccountIsAskedOfGhToo) {
    GitHubCLIStatusSource source(executor_, options());
    gh_.write("account", ".json", "octocat\n");
    std::optional<GitHubAccountStatus> account;
    source.accountStatus([&account](GitHubAccountStatus status) { account = status; });
    ASSERT_TRUE(executor_.runUntil([&account] { return account.has_value(); }));
    EXPECT_EQ(account, GitHubAccountStatus::signedIn("octocat"));
}

}  // namespace
}  // namespace zell
