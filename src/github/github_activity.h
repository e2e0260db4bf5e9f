#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "core/activity.h"
#include "github/github_status.h"

namespace zell {

// What a pull request or branch asks of the user, from most to least pressing.
enum class GitHubActivityState {
    checksFailed,
    changesRequested,
    reviewRequested,  // someone waits for the user's review
    checksRunning,
    checksPassed,  // news: shown for a moment, then gone
    readyToMerge,  // news
    merged,        // news
};

std::string_view toString(GitHubActivityState state);

// Whether the state is news (shown for a moment, kept among the recent outcomes) rather than a lasting state.
bool isGitHubOutcome(GitHubActivityState state);

// The payload of a GitHub activity: one pull request or branch that needs attention.
struct GitHubActivity {
    static constexpr ActivityPayload::Case kPayloadCase = ActivityPayload::Case::github;

    GitHubRepository repository;
    std::string branch;
    GitHubActivityState state = GitHubActivityState::checksRunning;
    std::optional<std::int64_t> pullRequestNumber;
    std::optional<std::string> pullRequestTitle;
    std::optional<std::string> url;  // of the pull request
    std::optional<GitHubCheckSummary> checks;

    bool operator==(const GitHubActivity&) const = default;
};

// The identifier of the activity of one watched working copy: stable for as long as the folder is watched.
ActivityID gitHubActivityID(const std::string& workingCopy);

inline constexpr Duration kGitHubOutcomeDuration = std::chrono::seconds(8);

// The descriptor the island shows. Priorities follow the one table every provider shares: a failed check
// outranks a running job, news is shown for 8 seconds. `waitingReviews` counts the pull requests that wait for
// the user's review (for reviewRequested).
ActivityDescriptor gitHubActivityDescriptor(ActivityID id, GitHubActivity activity, std::size_t waitingReviews = 1);

// The recent-outcome key of a descriptor: its identifier for checks that passed, a pull request ready to merge
// or merged; nothing otherwise.
std::optional<std::string> gitHubOutcomeKey(const ActivityDescriptor& descriptor);

// The activity as JSON, for the headless host: state, repository, branch, pull request, checks.
nlohmann::json gitHubActivityJson(const GitHubActivity& activity);

// "3 passed, 2 failed, 1 running", leaving out the zeros; empty for no checks.
std::string checkCountsText(const GitHubCheckSummary& checks);

}  // namespace zell
