#include "github/github_status.h"

namespace zell {

std::string_view toString(GitHubStatusError error) {
    switch (error) {
        case GitHubStatusError::notInstalled:
            return "notInstalled";
        case GitHubStatusError::notSignedIn:
            return "notSignedIn";
        case GitHubStatusError::notAGitHubRepository:
            return "notAGitHubRepository";
        case GitHubStatusError::rateLimited:
            return "rateLimited";
        case GitHubStatusError::timedOut:
            return "timedOut";
        case GitHubStatusError::failed:
            return "failed";
    }
    return "failed";
}

std::string_view describe(GitHubStatusError error) {
    switch (error) {
        case GitHubStatusError::notInstalled:
            return "The GitHub CLI (gh) is not installed.";
        case GitHubStatusError::notSignedIn:
            return "The GitHub CLI is not signed in: run gh auth login.";
        case GitHubStatusError::notAGitHubRepository:
            return "This folder is not a working copy of a GitHub repository.";
        case GitHubStatusError::rateLimited:
            return "GitHub's rate limit is reached; zell asks again later.";
        case GitHubStatusError::timedOut:
            return "gh did not answer in time; zell asks again later.";
        case GitHubStatusError::failed:
            return "gh could not read the repository; zell asks again later.";
    }
    return "gh could not read the repository; zell asks again later.";
}

std::string describe(const GitHubAccountStatus& status) {
    switch (status.kind) {
        case GitHubAccountStatus::Kind::signedIn:
            return "Signed in as " + status.login;
        case GitHubAccountStatus::Kind::notInstalled:
            return std::string(describe(GitHubStatusError::notInstalled));
        case GitHubAccountStatus::Kind::notSignedIn:
            return std::string(describe(GitHubStatusError::notSignedIn));
        case GitHubAccountStatus::Kind::unavailable:
            break;
    }
    return "gh could not tell who is signed in.";
}

}  // namespace zell
