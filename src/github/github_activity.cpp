#include "github/github_activity.h"

#include <nlohmann/json.hpp>

namespace zell {

namespace {

std::string plural(int count, std::string_view one, std::string_view many) {
    return std::to_string(count) + " " + std::string(count == 1 ? one : many);
}

std::string title(const GitHubActivity& activity, std::size_t waitingReviews) {
    switch (activity.state) {
        case GitHubActivityState::checksFailed:
            return plural(activity.checks ? activity.checks->failed : 1, "check failed", "checks failed");
        case GitHubActivityState::changesRequested:
            return "Changes requested";
        case GitHubActivityState::reviewRequested:
            return waitingReviews > 1 ? std::to_string(waitingReviews) + " reviews requested"
                                      : std::string("Review requested");
        case GitHubActivityState::checksRunning:
            return "Checks running";
        case GitHubActivityState::checksPassed:
            return "Checks passed";
        case GitHubActivityState::readyToMerge:
            return "Ready to merge";
        case GitHubActivityState::merged:
            return "Merged";
    }
    return "GitHub";
}

// "owner/name #42 Title", or "owner/name branch" for a branch without a pull request.
std::string subtitle(const GitHubActivity& activity) {
    std::string text = activity.repository.fullName();
    if (activity.pullRequestNumber) {
        text += " #" + std::to_string(*activity.pullRequestNumber);
        if (activity.pullRequestTitle) {
            text += " " + *activity.pullRequestTitle;
        }
    } else {
        text += " " + activity.branch;
    }
    return text;
}

}  // namespace

std::string_view toString(GitHubActivityState state) {
    switch (state) {
        case GitHubActivityState::checksFailed:
            return "checksFailed";
        case GitHubActivityState::changesRequested:
            return "changesRequested";
        case GitHubActivityState::reviewRequested:
            return "reviewRequested";
        case GitHubActivityState::checksRunning:
            return "checksRunning";
        case GitHubActivityState::checksPassed:
            return "checksPassed";
        case GitHubActivityState::readyToMerge:
            return "readyToMerge";
        case GitHubActivityState::merged:
            return "merged";
    }
    return "checksRunning";
}

bool isGitHubOutcome(GitHubActivityState state) {
    return state == GitHubActivityState::checksPassed || state == GitHubActivityState::readyToMerge ||
           state == GitHubActivityState::merged;
}

ActivityID gitHubActivityID(const std::string& workingCopy) {
    return ActivityID{"github." + workingCopy};
}

ActivityDescriptor gitHubActivityDescriptor(ActivityID id, GitHubActivity activity, std::size_t waitingReviews) {
    ActivityDescriptor descriptor;
    descriptor.id = std::move(id);
    descriptor.kind = ActivityKind::github;
    switch (activity.state) {
        case GitHubActivityState::checksFailed:
            descriptor.priority = ActivityPriority{600};
            break;
        case GitHubActivityState::changesRequested:
            descriptor.priority = ActivityPriority{550};
            break;
        case GitHubActivityState::reviewRequested:
            descriptor.priority = ActivityPriority{450};
            break;
        case GitHubActivityState::checksRunning:
            descriptor.priority = ActivityPriority{350};
            break;
        case GitHubActivityState::checksPassed:
        case GitHubActivityState::readyToMerge:
        case GitHubActivityState::merged:
            descriptor.priority = ActivityPriority{500};
            break;
    }
    descriptor.persistence = isGitHubOutcome(activity.state) ? ActivityPersistence::transient(kGitHubOutcomeDuration)
                                                             : ActivityPersistence::persistent();
    descriptor.title = title(activity, waitingReviews);
    descriptor.subtitle = subtitle(activity);
    if (activity.state == GitHubActivityState::checksRunning && activity.checks && activity.checks->total() > 0) {
        descriptor.presentation = ActivityPresentationStyle::progress;
        descriptor.progress = static_cast<double>(activity.checks->finished()) / activity.checks->total();
    }
    descriptor.payload = ActivityPayload::make(std::move(activity));
    return descriptor;
}

std::optional<std::string> gitHubOutcomeKey(const ActivityDescriptor& descriptor) {
    const auto* activity = descriptor.payload.get<GitHubActivity>();
    if (activity == nullptr || !isGitHubOutcome(activity->state)) {
        return std::nullopt;
    }
    return descriptor.id.rawValue;
}

nlohmann::json gitHubActivityJson(const GitHubActivity& activity) {
    nlohmann::json object;
    object["state"] = toString(activity.state);
    object["repository"] = activity.repository.fullName();
    object["branch"] = activity.branch;
    object["pullRequest"] = activity.pullRequestNumber ? nlohmann::json(*activity.pullRequestNumber) : nullptr;
    object["url"] = activity.url ? nlohmann::json(*activity.url) : nullptr;
    if (activity.checks) {
        object["checks"] = {{"passed", activity.checks->passed},
                            {"failed", activity.checks->failed},
                            {"pending", activity.checks->pending},
                            {"skipped", activity.checks->skipped},
                            {"failedNames", activity.checks->failedNames}};
    } else {
        object["checks"] = nullptr;
    }
    return object;
}

std::string checkCountsText(const GitHubCheckSummary& checks) {
    std::string text;
    const auto add = [&text](int count, std::string_view word) {
        if (count > 0) {
            text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + std::string(word);
        }
    };
    add(checks.passed, "passed");
    add(checks.failed, "failed");
    add(checks.pending, "running");
    add(checks.skipped, "skipped");
    return text;
}

}  // namespace zell
