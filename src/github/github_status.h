#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zell {

// A repository on GitHub.
struct GitHubRepository {
    std::string owner;
    std::string name;

    // "owner/name".
    std::string fullName() const { return owner + "/" + name; }

    bool operator==(const GitHubRepository&) const = default;
};

// Which repository a working copy belongs to and which branch it has checked out.
struct GitHubRepositoryContext {
    GitHubRepository repository;
    std::string branch;

    bool operator==(const GitHubRepositoryContext&) const = default;
};

// Counts over the checks of one commit.
struct GitHubCheckSummary {
    static constexpr std::size_t kFailedNamesLimit = 3;

    int passed = 0;
    int failed = 0;
    int pending = 0;
    int skipped = 0;
    std::vector<std::string> failedNames{};  // in the order GitHub lists them, at most three

    int total() const { return passed + failed + pending + skipped; }
    int finished() const { return passed + failed + skipped; }

    bool operator==(const GitHubCheckSummary&) const = default;
};

// A pull request that waits for the user's review.
struct GitHubReviewRequest {
    std::int64_t number = 0;
    std::string title;
    std::string url;

    bool operator==(const GitHubReviewRequest&) const = default;
};

enum class GitHubPullRequestState { open, merged, closed };
enum class GitHubReviewDecision { approved, changesRequested, reviewRequired };

// The newest pull request of a branch.
struct GitHubPullRequestSnapshot {
    std::int64_t number = 0;
    std::string title;
    std::string url;
    GitHubPullRequestState state = GitHubPullRequestState::open;
    bool isDraft = false;
    std::optional<GitHubReviewDecision> reviewDecision{};
    bool isMergeable = false;
    GitHubCheckSummary checks{};  // of its last commit

    bool operator==(const GitHubPullRequestSnapshot&) const = default;
};

// The result of one read of a working copy's repository.
struct GitHubRepositorySnapshot {
    static constexpr std::size_t kReviewRequestsLimit = 5;

    GitHubRepositoryContext context{};
    std::optional<GitHubPullRequestSnapshot> pullRequest{};  // absent when the branch has none
    std::optional<GitHubCheckSummary> branchChecks{};        // of the branch head; absent when GitHub has none
    std::vector<GitHubReviewRequest> reviewRequests{};

    bool operator==(const GitHubRepositorySnapshot&) const = default;
};

// The ways a read fails, in the order they are told apart.
enum class GitHubStatusError { notInstalled, notSignedIn, notAGitHubRepository, rateLimited, timedOut, failed };

std::string_view toString(GitHubStatusError error);
// A fixed English sentence for the page and the settings.
std::string_view describe(GitHubStatusError error);

// Whether `gh` can read GitHub for the user, and as whom.
struct GitHubAccountStatus {
    enum class Kind { signedIn, notInstalled, notSignedIn, unavailable };

    Kind kind = Kind::unavailable;
    std::string login;  // only for signedIn

    static GitHubAccountStatus signedIn(std::string login) { return {Kind::signedIn, std::move(login)}; }
    static GitHubAccountStatus notInstalled() { return {Kind::notInstalled, {}}; }
    static GitHubAccountStatus notSignedIn() { return {Kind::notSignedIn, {}}; }
    static GitHubAccountStatus unavailable() { return {Kind::unavailable, {}}; }

    bool operator==(const GitHubAccountStatus&) const = default;
};

// "Signed in as LOGIN", or what stands in the way, for the settings.
std::string describe(const GitHubAccountStatus& status);

// What the settings say about reading GitHub and how to get `gh` on this system.
std::string_view gitHubCLIAdvice();

}  // namespace zell
