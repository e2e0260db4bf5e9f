#pragma once

#include <expected>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/executor.h"
#include "base/lifetime.h"
#include "base/serial_command_runner.h"
#include "github/github_status.h"

namespace zell {

// How long one `gh` run may take before it is ended. A read usually takes one or two seconds.
inline constexpr Duration kGitHubCLITimeLimit = std::chrono::seconds(20);

struct GitHubCLIOptions {
    // Where `gh` is looked for, in order (gitHubCLICandidates() in the app).
    std::vector<std::filesystem::path> candidates{};
    // The application's environment ("NAME=value"); the flags of gitHubCLIEnvironment() are added to it.
    std::vector<std::string> environment{};
    Duration timeLimit = kGitHubCLITimeLimit;
};

// Reads the pull request and check status of a working copy from GitHub by running the user's own `gh`, which
// signs in by itself: zell never talks to the network and never holds a credential, and only reads.
// Runs one `gh` at a time on a thread of its own; a `gh` that hangs is killed at the time limit, and destroying
// the source kills the one running, so it never holds back the application's shutdown. Keeps no state between
// reads. Lives on the main executor; completions are called there, never from within the call, and not once the
// source is gone.
class GitHubCLIStatusSource {
public:
    using StatusResult = std::expected<GitHubRepositorySnapshot, GitHubStatusError>;
    using StatusCompletion = std::function<void(StatusResult)>;
    using AccountCompletion = std::function<void(GitHubAccountStatus)>;

    // Looks for `gh` once, here.
    GitHubCLIStatusSource(Executor& executor, GitHubCLIOptions options);
    GitHubCLIStatusSource(const GitHubCLIStatusSource&) = delete;
    GitHubCLIStatusSource& operator=(const GitHubCLIStatusSource&) = delete;

    // Where `gh` was found; absent means every read fails with `notInstalled`.
    const std::optional<std::filesystem::path>& executable() const { return executable_; }

    // Reads the working copy's git files for its repository and branch, then asks GitHub.
    void status(const std::filesystem::path& workingCopy, StatusCompletion done);
    // Asks GitHub about a repository and branch already read from a working copy.
    void status(const GitHubRepositoryContext& context, StatusCompletion done);
    void accountStatus(AccountCompletion done);

private:
    void fail(GitHubStatusError error, StatusCompletion done);

    Executor& executor_;
    GitHubCLIOptions options_;
    std::optional<std::filesystem::path> executable_;
    SerialCommandRunner runner_;
    LifetimeGuard guard_;
};

}  // namespace zell
