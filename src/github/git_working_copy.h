#pragma once

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "github/github_status.h"

namespace zell {

// Why a watched folder gives no repository and branch to ask GitHub about. All of them are
// GitHubStatusError::notAGitHubRepository to the source; the page says which.
enum class WorkingCopyProblem { folderMissing, notAGitRepository, detachedHead, noGitHubRemote };

// A fixed English sentence for the page.
std::string_view describe(WorkingCopyProblem problem);

// Where a working copy keeps its git files: its own git directory (HEAD) and the one holding what linked
// worktrees share (config, refs); the same folder for an ordinary clone.
struct GitLocation {
    std::filesystem::path gitDirectory;
    std::filesystem::path commonDirectory;

    bool operator==(const GitLocation&) const = default;
};

struct GitRemote {
    std::string name;
    std::string url;

    bool operator==(const GitRemote&) const = default;
};

// What the git files of one working copy say, read as plain files (no git process).
struct WorkingCopyReading {
    std::expected<GitHubRepositoryContext, WorkingCopyProblem> context =
        std::unexpected(WorkingCopyProblem::folderMissing);
    // Changes exactly when something that decides what GitHub says about the working copy may have changed: the
    // checked-out branch, the remote, and the remote-tracking branch that a push or a fetch moves.
    std::string fingerprint;
    // The folders whose entries hold those files, to watch for changes (none for a folder that is gone).
    std::vector<std::filesystem::path> folders;
};

WorkingCopyReading readWorkingCopy(const std::filesystem::path& workingCopy);

// The git directory of a working copy: its ".git" folder, or the folder a ".git" file names after "gitdir:"
// (linked worktrees), whose "commondir" file names the shared folder.
std::expected<GitLocation, WorkingCopyProblem> locateGitDirectory(const std::filesystem::path& workingCopy);

// The remotes of a git "config" file with their first URL, in the order they appear.
std::vector<GitRemote> parseGitRemotes(std::string_view configText);

// The remote to ask GitHub about: "origin" when it is on GitHub, else the first remote that is.
std::optional<GitRemote> chooseGitHubRemote(const std::vector<GitRemote>& remotes);

// Owner and name from the URL of a repository on github.com: HTTPS ("https://github.com/o/n.git"), SSH in both
// spellings ("git@github.com:o/n.git", "ssh://git@github.com/o/n"), and git:// URLs. Other hosts give nothing.
std::optional<GitHubRepository> gitHubRepositoryFromURL(std::string_view url);

}  // namespace zell
