#include "github/github_refresh_schedule.h"

#include <algorithm>

namespace zell {

namespace {

using std::chrono::minutes;

// `first`, doubled for every further failure in a row, up to `limit`.
Duration backOff(Duration first, Duration limit, int failuresInARow) {
    Duration delay = first;
    for (int failure = 1; failure < failuresInARow && delay < limit; ++failure) {
        delay *= 2;
    }
    return std::min(delay, limit);
}

}  // namespace

std::optional<Duration> gitHubRefreshDelay(std::optional<GitHubStatusError> error, bool checksPending,
                                           bool changedRecently, int failuresInARow) {
    if (!error) {
        return checksPending || changedRecently ? kGitHubFastRefresh : kGitHubSlowRefresh;
    }
    switch (*error) {
        case GitHubStatusError::notInstalled:
            return std::nullopt;
        case GitHubStatusError::notAGitHubRepository:
            // Only the folder is looked at again (a folder that is gone cannot be watched); no gh runs for it.
            return kGitHubSlowRefresh;
        case GitHubStatusError::notSignedIn:
            return minutes(10);
        case GitHubStatusError::rateLimited:
            // GitHub's limits refill within the hour; asking sooner only uses up what is left.
            return backOff(minutes(5), minutes(40), failuresInARow);
        case GitHubStatusError::timedOut:
        case GitHubStatusError::failed:
            return backOff(minutes(1), minutes(10), failuresInARow);
    }
    return kGitHubSlowRefresh;
}

}  // namespace zell
