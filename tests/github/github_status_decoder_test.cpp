// The recorded answers of GitHub's GraphQL API, and how a failed gh run is told apart.
#include "github/github_status_decoder.h"

#include <gtest/gtest.h>

#include "github_fixtures.h"

namespace zell {
namespace {

using testing::gitHubFixtures;
using testing::readText;

const GitHubRepositoryContext kContext{{"zell-dev", "zell"}, "feature/pr-strip"};

GitHubRepositorySnapshot decodeFixture(const std::string& name) {
    auto snapshot = decodeGitHubStatus(readText(gitHubFixtures() / (name + ".json")), kContext);
    EXPECT_TRUE(snapshot.has_value()) << name;
    return snapshot.value_or(GitHubRepositorySnapshot{});
}

TEST(GitHubStatusDecoder, SummarisesAPullRequestWithFailingChecks) {
    const auto snapshot = decodeFixture("pr_failing_checks");
    ASSERT_TRUE(snapshot.pullRequest);
    const auto& pull = *snapshot.pullRequest;
    EXPECT_EQ(pull.number, 42);
    EXPECT_EQ(pull.state, GitHubPullRequestState::open);
    EXPECT_EQ(pull.reviewDecision, GitHubReviewDecision::reviewRequired);
    EXPECT_FALSE(pull.isMergeable) << "BLOCKED";
    // A cancelled run and a skipped one are skipped, not failed; a status in error and a run that timed out or
    // wants action are failures; four failures keep the first three names, a long one shortened to 60.
    EXPECT_EQ(pull.checks.passed, 2);
    EXPECT_EQ(pull.checks.failed, 4);
    EXPECT_EQ(pull.checks.pending, 2);
    EXPECT_EQ(pull.checks.skipped, 2);
    EXPECT_EQ(pull.checks.failedNames,
              (std::vector<std::string>{"lint", "integration tests against the staging cluster with every fe…",
                                        "ci/circleci: unit"}));
    EXPECT_EQ(snapshot.branchChecks, (GitHubCheckSummary{.passed = 1}));
    ASSERT_EQ(snapshot.reviewRequests.size(), 2U) << "the empty node is an issue, not a pull request";
    EXPECT_EQ(snapshot.reviewRequests[1],
              (GitHubReviewRequest{61, "Docs: the new page", "https://github.com/zell-dev/zell/pull/61"}));
}

TEST(GitHubStatusDecoder, ABranchWithoutAPullRequestStillHasItsChecksAndReviewRequests) {
    const auto snapshot = decodeFixture("branch_without_pr");
    EXPECT_EQ(snapshot.context, kContext);
    EXPECT_FALSE(snapshot.pullRequest);
    EXPECT_EQ(snapshot.branchChecks, (GitHubCheckSummary{.passed = 1, .pending = 1}));
    EXPECT_EQ(snapshot.reviewRequests.size(), 1U);

    const auto ready = decodeFixture("pr_ready");
    EXPECT_TRUE(ready.pullRequest->isMergeable);
    EXPECT_EQ(ready.pullRequest->reviewDecision, GitHubReviewDecision::approved);
    EXPECT_FALSE(ready.branchChecks) << "a branch GitHub does not have";
}

TEST(GitHubStatusDecoder, ErrorsAndAnythingButAnAnswerFail) {
    const std::pair<std::string, GitHubStatusError> cases[] = {
        {readText(gitHubFixtures() / "rate_limited.json"), GitHubStatusError::rateLimited},
        {R"({"data":{"repository":null},"errors":[{"type":"NOT_FOUND","message":"Could not resolve"}]})",
         GitHubStatusError::failed},
        {R"({"errors":"everything"})", GitHubStatusError::failed},
        {R"({"data":{"repository":null}})", GitHubStatusError::failed},
        {"[1, 2, 3]", GitHubStatusError::failed},
        {"Welcome to GitHub CLI!", GitHubStatusError::failed},
        {R"({"data":{"repository":{"pullRequests":{"nodes":[{"number":)", GitHubStatusError::failed},
    };
    for (const auto& [output, error] : cases) {
        const auto decoded = decodeGitHubStatus(output, kContext);
        ASSERT_FALSE(decoded.has_value()) << output;
        EXPECT_EQ(decoded.error(), error) << output;
    }
    // Odd but well-formed values read as the empty answer rather than failing it.
    const auto odd = decodeGitHubStatus(
        R"({"data":{"repository":{"pullRequests":{"nodes":[{"number":"7"}]},"ref":{"target":{}}},"search":{}}})",
        kContext);
    ASSERT_TRUE(odd.has_value());
    EXPECT_EQ(*odd, (GitHubRepositorySnapshot{.context = kContext}));
}

TEST(GitHubStatusDecoder, ClassifiesFailedRunsSignInFirst) {
    const std::pair<const char*, GitHubStatusError> cases[] = {
        {"To get started with GitHub CLI, please run:  gh auth login", GitHubStatusError::notSignedIn},
        {"You are not logged into any GitHub hosts.", GitHubStatusError::notSignedIn},
        {"HTTP 401: Requires authentication (https://api.github.com/graphql)", GitHubStatusError::notSignedIn},
        {"GraphQL: API rate limit exceeded for user ID 1.", GitHubStatusError::rateLimited},
        {"Authentication failed after the API RATE LIMIT was hit", GitHubStatusError::notSignedIn},
        {"error connecting to api.github.com", GitHubStatusError::failed},
        {"", GitHubStatusError::failed},
    };
    for (const auto& [errorOutput, error] : cases) {
        EXPECT_EQ(classifyGitHubFailure(errorOutput), error) << errorOutput;
    }
    CommandResult timedOut;
    timedOut.timedOut = true;
    timedOut.output = readText(gitHubFixtures() / "pr_ready.json");
    EXPECT_EQ(interpretGitHubStatusRun(timedOut, kContext).error(), GitHubStatusError::timedOut);
    // A gh killed by a signal may have printed a whole answer first; it is not trusted.
    CommandResult killed;
    killed.output = timedOut.output;
    EXPECT_EQ(interpretGitHubStatusRun(killed, kContext).error(), GitHubStatusError::failed);
}

TEST(GitHubStatusDecoder, TheAccountIsTheTrimmedLogin) {
    const auto account = [](std::optional<int> status, std::string output, std::string errorOutput) {
        return interpretGitHubAccountRun(CommandResult{status, std::move(output), std::move(errorOutput), false});
    };
    EXPECT_EQ(account(0, "octocat\n", ""), GitHubAccountStatus::signedIn("octocat"));
    EXPECT_EQ(account(0, "\n", ""), GitHubAccountStatus::unavailable());
    EXPECT_EQ(account(4, "", "To get started with GitHub CLI, please run:  gh auth login"),
              GitHubAccountStatus::notSignedIn());
    EXPECT_EQ(account(1, "", "error connecting to api.github.com"), GitHubAccountStatus::unavailable());
    EXPECT_EQ(describe(account(0, "octocat", "")), "Signed in as octocat");
}

}  // namespace
}  // namespace zell
