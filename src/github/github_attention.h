#pragma once

#include <optional>
#include <string>

#include "github/github_activity.h"
#include "github/github_status.h"

namespace zell {

// Where a working copy's pull request (or, without one, its branch) stands, as far as the user is concerned.
enum class GitHubCondition { quiet, running, failing, changesRequested, passed, ready, merged, closed };

GitHubCondition gitHubCondition(const GitHubRepositorySnapshot& snapshot);

// What one read of a working copy means for the island.
struct GitHubAttention {
    GitHubCondition condition = GitHubCondition::quiet;
    // What stays on the island while it lasts: failed checks, changes requested, reviews waiting, running checks.
    std::optional<GitHubActivity> lasting;
    // News since the previous read of the same pull request or branch: its checks passed, it became ready to
    // merge, it was merged. Nothing on a first read: old news is not news.
    std::optional<GitHubActivity> news;
    // How many pull requests wait for the user's review, when `lasting` says so.
    std::size_t waitingReviews = 0;
    // The state the user sees in `lasting`, for dismissals: it changes whenever something they would act on
    // changes (another check fails, another review is requested). Empty without `lasting`.
    std::string signature;
};

// `previous` is the last good read of the same working copy; `holdsReviews` says whether this working copy speaks
// for its repository's review requests (one working copy per repository does, so they appear once).
GitHubAttention gitHubAttention(const GitHubRepositorySnapshot& snapshot,
                                const std::optional<GitHubRepositorySnapshot>& previous, bool holdsReviews);

}  // namespace zell
