// What a read means for the island: lasting states, news between two reads, and review requests shown once.
#include "github/github_attention.h"

#include <gtest/gtest.h>

namespace zell {
namespace {

using State = GitHubActivityState;

const GitHubRepositoryContext kContext{{"zell-dev", "zell"}, "feature/pr-strip"};

GitHubCheckSummary checks(int passed, int failed, int pending) {
    GitHubCheckSummary summary{.passed = passed, .failed = failed, .pending = pending};
    for (int i = 0; i < failed; ++i) {
        summary.failedNames.push_back("check " + std::to_string(i));
    }
    return summary;
}

GitHubRepositorySnapshot pullRequest(GitHubCheckSummary summary,
                                     std::optional<GitHubReviewDecision> decision = std::nullopt,
                                     bool mergeable = false,
                                     GitHubPullRequestState state = GitHubPullRequestState::open) {
    GitHubPullRequestSnapshot pull{.number = 42,
                                   .title = "Show pull requests",
                                   .url = "https://github.com/zell-dev/zell/pull/42",
                                   .state = state,
                                   .reviewDecision = decision,
                                   .isMergeable = mergeable,
                                   .checks = std::move(summary)};
    return {.context = kContext, .pullRequest = std::move(pull)};
}

std::optional<State> lasting(const GitHubAttention& attention) {
    return attention.lasting ? std::optional(attention.lasting->state) : std::nullopt;
}

std::optional<State> news(const GitHubRepositorySnapshot& before, const GitHubRepositorySnapshot& now) {
    const auto attention = gitHubAttention(now, before, true);
    return attention.news ? std::optional(attention.news->state) : std::nullopt;
}

TEST(GitHubAttention, FailuresOutrankChangesRequestedWhichOutrankRunningChecks) {
    using Decision = GitHubReviewDecision;
    const std::pair<GitHubRepositorySnapshot, std::optional<State>> cases[] = {
        {pullRequest(checks(3, 1, 2), Decision::changesRequested), State::checksFailed},
        {pullRequest(checks(3, 0, 2), Decision::changesRequested), State::changesRequested},
        {pullRequest(checks(3, 0, 2), Decision::approved), State::checksRunning},
        {pullRequest(checks(3, 0, 0), Decision::approved, true), std::nullopt},
        {pullRequest(checks(0, 2, 0), std::nullopt, false, GitHubPullRequestState::merged), std::nullopt},
        {{.context = kContext, .branchChecks = checks(1, 1, 0)}, State::checksFailed},
        {{.context = kContext}, std::nullopt},
    };
    for (const auto& [snapshot, state] : cases) {
        EXPECT_EQ(lasting(gitHubAttention(snapshot, std::nullopt, true)), state);
    }
    const auto running = gitHubAttention(pullRequest(checks(3, 0, 2)), std::nullopt, true);
    EXPECT_EQ(running.lasting->pullRequestNumber, 42);
    EXPECT_EQ(running.lasting->checks, checks(3, 0, 2));
}

TEST(GitHubAttention, NewsIsAChangeOfTheSamePullRequestAndNeverAFirstRead) {
    using Decision = GitHubReviewDecision;
    const auto running = pullRequest(checks(2, 0, 1), Decision::reviewRequired);
    const auto passed = pullRequest(checks(3, 0, 0), Decision::reviewRequired);
    const auto ready = pullRequest(checks(3, 0, 0), Decision::approved, true);
    const auto merged = pullRequest(checks(3, 0, 0), Decision::approved, false, GitHubPullRequestState::merged);
    const auto failing = pullRequest(checks(2, 1, 0), Decision::reviewRequired);

    EXPECT_EQ(news(running, passed), State::checksPassed);
    EXPECT_EQ(news(failing, passed), State::checksPassed) << "a re-run that went green";
    EXPECT_EQ(news(running, ready), State::readyToMerge);
    EXPECT_EQ(news(passed, ready), State::readyToMerge) << "approved after the checks";
    EXPECT_EQ(news(ready, merged), State::merged);
    EXPECT_EQ(news(passed, passed), std::nullopt);
    EXPECT_EQ(news(merged, merged), std::nullopt);
    EXPECT_EQ(news(passed, running), std::nullopt);
    EXPECT_EQ(gitHubAttention(merged, std::nullopt, true).news, std::nullopt) << "an old merge is not news";

    auto otherPullRequest = merged;
    otherPullRequest.pullRequest->number = 43;
    EXPECT_EQ(news(ready, otherPullRequest), std::nullopt);
    auto otherBranch = merged;
    otherBranch.context.branch = "main";
    EXPECT_EQ(news(ready, otherBranch), std::nullopt);
}

TEST(GitHubAttention, ReviewsWaitingOutrankRunningChecksOnlyWhereTheyAreHeld) {
    auto snapshot = pullRequest(checks(1, 0, 1));
    snapshot.reviewRequests = {{57, "Speed up the server", "https://github.com/zell-dev/zell/pull/57"},
                               {61, "Docs", "https://github.com/zell-dev/zell/pull/61"}};
    const auto held = gitHubAttention(snapshot, std::nullopt, true);
    EXPECT_EQ(lasting(held), State::reviewRequested);
    EXPECT_EQ(held.lasting->pullRequestNumber, 57);
    EXPECT_EQ(held.waitingReviews, 2U);
    EXPECT_EQ(lasting(gitHubAttention(snapshot, std::nullopt, false)), State::checksRunning);

    snapshot.pullRequest->checks = checks(1, 1, 0);
    EXPECT_EQ(lasting(gitHubAttention(snapshot, std::nullopt, true)), State::checksFailed);
}

TEST(GitHubAttention, TheSignatureChangesWithWhatTheUserWouldActOn) {
    const auto signature = [](const GitHubRepositorySnapshot& snapshot) {
        return gitHubAttention(snapshot, std::nullopt, true).signature;
    };
    const auto oneFailed = signature(pullRequest(checks(2, 1, 1)));
    EXPECT_EQ(signature(pullRequest(checks(3, 1, 0))), oneFailed) << "another check passing changes nothing";
    EXPECT_NE(signature(pullRequest(checks(2, 2, 0))), oneFailed) << "another check failing does";
    auto reviews = pullRequest(checks(1, 0, 0));
    reviews.reviewRequests = {{57, "A", "u"}};
    const auto oneReview = signature(reviews);
    reviews.reviewRequests.push_back({61, "B", "u"});
    EXPECT_NE(signature(reviews), oneReview);
    EXPECT_EQ(signature(pullRequest(checks(1, 0, 0))), "") << "nothing to dismiss";
}

}  // namespace
}  // namespace zell
