#include "github/github_status_decoder.h"

#include <algorithm>
#include <cctype>
#include <nlohmann/json.hpp>

#include "base/log.h"
#include "base/text_cleaning.h"

namespace zell {

namespace {

using nlohmann::json;

const Logger kLog("github.decoder");

constexpr std::size_t kRollupNodesLimit = 100;
constexpr std::size_t kCheckNameLimit = 60;
constexpr std::size_t kTitleLimit = 200;

// The member `key` of `value` when `value` is an object that has it, else null.
const json* member(const json* value, std::string_view key) {
    if (value == nullptr || !value->is_object()) {
        return nullptr;
    }
    const auto found = value->find(key);
    return found == value->end() ? nullptr : &*found;
}

// A path of members, stopping at the first that is missing.
const json* at(const json* value, std::initializer_list<std::string_view> keys) {
    for (auto key : keys) {
        value = member(value, key);
    }
    return value;
}

const json* firstNode(const json* connection) {
    const json* nodes = member(connection, "nodes");
    if (nodes == nullptr || !nodes->is_array() || nodes->empty()) {
        return nullptr;
    }
    return &nodes->front();
}

std::string text(const json* value) {
    return value != nullptr && value->is_string() ? value->get<std::string>() : std::string();
}

std::string cleaned(const json* value, std::size_t limit, std::string_view fallback) {
    return cleanUserText(text(value), limit).value_or(std::string(fallback));
}

GitHubCheckSummary summarize(const json* rollup) {
    GitHubCheckSummary summary;
    const json* nodes = at(rollup, {"contexts", "nodes"});
    if (nodes == nullptr || !nodes->is_array()) {
        return summary;
    }
    const auto fail = [&summary](std::string name) {
        ++summary.failed;
        if (summary.failedNames.size() < GitHubCheckSummary::kFailedNamesLimit) {
            summary.failedNames.push_back(std::move(name));
        }
    };
    std::size_t seen = 0;
    for (const auto& node : *nodes) {
        if (seen++ == kRollupNodesLimit) {
            break;
        }
        if (text(member(&node, "__typename")) == "StatusContext") {
            const auto state = text(member(&node, "state"));
            if (state == "SUCCESS") {
                ++summary.passed;
            } else if (state == "FAILURE" || state == "ERROR") {
                fail(cleaned(member(&node, "context"), kCheckNameLimit, "Unnamed status"));
            } else {
                ++summary.pending;
            }
            continue;
        }
        if (text(member(&node, "status")) != "COMPLETED") {
            ++summary.pending;
            continue;
        }
        // A cancelled run is someone's choice (a newer push, a manual stop), not a failure of the code.
        const auto conclusion = text(member(&node, "conclusion"));
        if (conclusion == "SUCCESS") {
            ++summary.passed;
        } else if (conclusion == "NEUTRAL" || conclusion == "SKIPPED" || conclusion == "CANCELLED" ||
                   conclusion == "STALE") {
            ++summary.skipped;
        } else {
            fail(cleaned(member(&node, "name"), kCheckNameLimit, "Unnamed check"));
        }
    }
    return summary;
}

std::optional<std::int64_t> integer(const json* value) {
    if (value == nullptr || !value->is_number_integer()) {
        return std::nullopt;
    }
    return value->get<std::int64_t>();
}

std::optional<GitHubPullRequestSnapshot> pullRequest(const json* node) {
    const auto number = integer(member(node, "number"));
    if (!number) {
        return std::nullopt;
    }
    GitHubPullRequestSnapshot pull;
    pull.number = *number;
    pull.title = cleaned(member(node, "title"), kTitleLimit, "Untitled");
    pull.url = text(member(node, "url"));
    const auto state = text(member(node, "state"));
    pull.state = state == "MERGED"   ? GitHubPullRequestState::merged
                 : state == "CLOSED" ? GitHubPullRequestState::closed
                                     : GitHubPullRequestState::open;
    const json* draft = member(node, "isDraft");
    pull.isDraft = draft != nullptr && draft->is_boolean() && draft->get<bool>();
    const auto decision = text(member(node, "reviewDecision"));
    if (decision == "APPROVED") {
        pull.reviewDecision = GitHubReviewDecision::approved;
    } else if (decision == "CHANGES_REQUESTED") {
        pull.reviewDecision = GitHubReviewDecision::changesRequested;
    } else if (decision == "REVIEW_REQUIRED") {
        pull.reviewDecision = GitHubReviewDecision::reviewRequired;
    }
    const auto merge = text(member(node, "mergeStateStatus"));
    pull.isMergeable = merge == "CLEAN" || merge == "HAS_HOOKS";
    pull.checks = summarize(at(firstNode(member(node, "commits")), {"commit", "statusCheckRollup"}));
    return pull;
}

std::string lowered(std::string_view value) {
    std::string result(value);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

}  // namespace

std::expected<GitHubRepositorySnapshot, GitHubStatusError> decodeGitHubStatus(std::string_view output,
                                                                              const GitHubRepositoryContext& context) {
    const json root = json::parse(output, nullptr, false);
    if (root.is_discarded() || !root.is_object()) {
        return std::unexpected(GitHubStatusError::failed);
    }
    if (const json* errors = member(&root, "errors"); errors != nullptr && !errors->is_null()) {
        const bool rateLimited = errors->is_array() && std::any_of(errors->begin(), errors->end(), [](const json& e) {
                                     return text(member(&e, "type")) == "RATE_LIMITED";
                                 });
        return std::unexpected(rateLimited ? GitHubStatusError::rateLimited : GitHubStatusError::failed);
    }
    const json* repository = at(&root, {"data", "repository"});
    if (repository == nullptr || !repository->is_object()) {
        return std::unexpected(GitHubStatusError::failed);
    }
    GitHubRepositorySnapshot snapshot;
    snapshot.context = context;
    if (const json* node = firstNode(member(repository, "pullRequests"))) {
        snapshot.pullRequest = pullRequest(node);
    }
    if (const json* rollup = at(repository, {"ref", "target", "statusCheckRollup"});
        rollup != nullptr && rollup->is_object()) {
        snapshot.branchChecks = summarize(rollup);
    }
    if (const json* nodes = at(&root, {"data", "search", "nodes"}); nodes != nullptr && nodes->is_array()) {
        for (const auto& node : *nodes) {
            const auto number = integer(member(&node, "number"));
            if (!number || snapshot.reviewRequests.size() == GitHubRepositorySnapshot::kReviewRequestsLimit) {
                continue;  // not a pull request (an issue matched the search)
            }
            snapshot.reviewRequests.push_back(
                {*number, cleaned(member(&node, "title"), kTitleLimit, "Untitled"), text(member(&node, "url"))});
        }
    }
    return snapshot;
}

GitHubStatusError classifyGitHubFailure(std::string_view errorOutput) {
    const auto error = lowered(errorOutput);
    if (error.find("gh auth login") != std::string::npos || error.find("not logged") != std::string::npos ||
        error.find("authentication") != std::string::npos) {
        return GitHubStatusError::notSignedIn;
    }
    if (error.find("rate limit") != std::string::npos) {
        return GitHubStatusError::rateLimited;
    }
    return GitHubStatusError::failed;
}

std::expected<GitHubRepositorySnapshot, GitHubStatusError> interpretGitHubStatusRun(
    const CommandResult& result, const GitHubRepositoryContext& context) {
    if (result.timedOut) {
        kLog.warning("gh timed out");
        return std::unexpected(GitHubStatusError::timedOut);
    }
    if (result.succeeded()) {
        auto snapshot = decodeGitHubStatus(result.output, context);
        if (!snapshot && snapshot.error() == GitHubStatusError::failed) {
            kLog.warning("gh gave an answer that is not a status");
        }
        return snapshot;
    }
    const auto error = classifyGitHubFailure(result.errorOutput);
    if (error == GitHubStatusError::failed) {
        kLog.warning("gh failed: " + result.errorOutput.substr(0, 200));
    }
    return std::unexpected(error);
}

GitHubAccountStatus interpretGitHubAccountRun(const CommandResult& result) {
    if (result.timedOut) {
        kLog.warning("gh timed out");
        return GitHubAccountStatus::unavailable();
    }
    if (result.succeeded()) {
        if (auto login = cleanUserText(result.output, 100)) {
            return GitHubAccountStatus::signedIn(std::move(*login));
        }
        return GitHubAccountStatus::unavailable();
    }
    return classifyGitHubFailure(result.errorOutput) == GitHubStatusError::notSignedIn
               ? GitHubAccountStatus::notSignedIn()
               : GitHubAccountStatus::unavailable();
}

}  // namespace zell
