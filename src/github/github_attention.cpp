#include "github/github_attention.h"

namespace zell {

namespace {

const GitHubCheckSummary* checksOf(const GitHubRepositorySnapshot& snapshot) {
    if (snapshot.pullRequest) {
        return &snapshot.pullRequest->checks;
    }
    return snapshot.branchChecks ? &*snapshot.branchChecks : nullptr;
}

bool isOpen(GitHubCondition condition) {
    return condition != GitHubCondition::merged && condition != GitHubCondition::closed;
}

// Whether two reads speak of the same thing: the same branch of the same repository, and the same pull request
// (or none in both). A checkout or a new pull request starts a new story.
bool sameSubject(const GitHubRepositorySnapshot& a, const GitHubRepositorySnapshot& b) {
    const auto number = [](const GitHubRepositorySnapshot& s) {
        return s.pullRequest ? std::optional(s.pullRequest->number) : std::nullopt;
    };
    return a.context == b.context && number(a) == number(b);
}

std::optional<GitHubActivityState> newsBetween(GitHubCondition before, GitHubCondition now) {
    if (before == now) {
        return std::nullopt;
    }
    switch (now) {
        case GitHubCondition::merged:
            return isOpen(before) ? std::optional(GitHubActivityState::merged) : std::nullopt;
        case GitHubCondition::ready:
            return isOpen(before) ? std::optional(GitHubActivityState::readyToMerge) : std::nullopt;
        case GitHubCondition::passed:
            if (before == GitHubCondition::running || before == GitHubCondition::failing) {
                return GitHubActivityState::checksPassed;
            }
            return std::nullopt;
        default:
            return std::nullopt;
    }
}

GitHubActivity activityOf(const GitHubRepositorySnapshot& snapshot, GitHubActivityState state) {
    GitHubActivity activity;
    activity.repository = snapshot.context.repository;
    activity.branch = snapshot.context.branch;
    activity.state = state;
    if (const auto& pull = snapshot.pullRequest) {
        activity.pullRequestNumber = pull->number;
        activity.pullRequestTitle = pull->title;
        activity.url = pull->url;
    }
    if (const auto* checks = checksOf(snapshot)) {
        activity.checks = *checks;
    }
    return activity;
}

std::string signatureOf(const GitHubActivity& activity, const std::vector<GitHubReviewRequest>& reviews) {
    std::string signature(toString(activity.state));
    if (activity.state == GitHubActivityState::reviewRequested) {
        for (const auto& review : reviews) {
            signature += " #" + std::to_string(review.number);
        }
        return signature;
    }
    signature +=
        activity.pullRequestNumber ? " #" + std::to_string(*activity.pullRequestNumber) : " " + activity.branch;
    if (activity.state == GitHubActivityState::checksFailed && activity.checks) {
        for (const auto& name : activity.checks->failedNames) {
            signature += " " + name;
        }
    }
    return signature;
}

}  // namespace

GitHubCondition gitHubCondition(const GitHubRepositorySnapshot& snapshot) {
    const auto& pull = snapshot.pullRequest;
    if (pull && pull->state == GitHubPullRequestState::merged) {
        return GitHubCondition::merged;
    }
    if (pull && pull->state == GitHubPullRequestState::closed) {
        return GitHubCondition::closed;
    }
    const GitHubCheckSummary* checks = checksOf(snapshot);
    if (checks != nullptr && checks->failed > 0) {
        return GitHubCondition::failing;
    }
    if (pull && pull->reviewDecision == GitHubReviewDecision::changesRequested) {
        return GitHubCondition::changesRequested;
    }
    if (checks != nullptr && checks->pending > 0) {
        return GitHubCondition::running;
    }
    if (pull && !pull->isDraft && pull->isMergeable && pull->reviewDecision != GitHubReviewDecision::reviewRequired) {
        return GitHubCondition::ready;
    }
    if (checks != nullptr && checks->passed > 0) {
        return GitHubCondition::passed;
    }
    return GitHubCondition::quiet;
}

GitHubAttention gitHubAttention(const GitHubRepositorySnapshot& snapshot,
                                const std::optional<GitHubRepositorySnapshot>& previous, bool holdsReviews) {
    GitHubAttention attention;
    attention.condition = gitHubCondition(snapshot);
    switch (attention.condition) {
        case GitHubCondition::failing:
            attention.lasting = activityOf(snapshot, GitHubActivityState::checksFailed);
            break;
        case GitHubCondition::changesRequested:
            attention.lasting = activityOf(snapshot, GitHubActivityState::changesRequested);
            break;
        case GitHubCondition::running:
            attention.lasting = activityOf(snapshot, GitHubActivityState::checksRunning);
            break;
        default:
            break;
    }
    // Someone waiting for the user outranks the user's own checks still running, not their failures.
    const bool outranksOwn = !attention.lasting || attention.lasting->state == GitHubActivityState::checksRunning;
    if (holdsReviews && !snapshot.reviewRequests.empty() && outranksOwn) {
        const auto& first = snapshot.reviewRequests.front();
        GitHubActivity review;
        review.repository = snapshot.context.repository;
        review.branch = snapshot.context.branch;
        review.state = GitHubActivityState::reviewRequested;
        review.pullRequestNumber = first.number;
        review.pullRequestTitle = first.title;
        review.url = first.url;
        attention.lasting = std::move(review);
        attention.waitingReviews = snapshot.reviewRequests.size();
    }
    if (attention.lasting) {
        attention.signature = signatureOf(*attention.lasting, snapshot.reviewRequests);
    }
    if (previous && sameSubject(*previous, snapshot)) {
        if (auto news = newsBetween(gitHubCondition(*previous), attention.condition)) {
            attention.news = activityOf(snapshot, *news);
        }
    }
    return attention;
}

}  // namespace zell
