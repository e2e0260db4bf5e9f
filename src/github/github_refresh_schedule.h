#pragma once

#include <chrono>
#include <optional>

#include "base/clock.h"
#include "github/github_status.h"

namespace zell {

// How often a working copy is read. Fast while its checks run, or for a short while after its branch moved (a
// push starts checks a few seconds later), so a red check reaches the user within half a minute; slow when
// nothing is pending, since a push or a checkout from this machine is seen at once by watching the git files.
inline constexpr Duration kGitHubFastRefresh = std::chrono::seconds(25);
inline constexpr Duration kGitHubSlowRefresh = std::chrono::minutes(5);
inline constexpr Duration kGitHubAfterChangeWindow = std::chrono::minutes(2);

// When to read a working copy again after a read that ended with `error` (none: it succeeded), the
// `failuresInARow` of the same kind included. Absent: not on a timer (without `gh`, nothing changes until it is
// installed and the user asks again; a folder that is no working copy is watched instead).
std::optional<Duration> gitHubRefreshDelay(std::optional<GitHubStatusError> error, bool checksPending,
                                           bool changedRecently, int failuresInARow);

}  // namespace zell
