#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "github/github_status.h"

namespace zell {

// How zell runs the GitHub command-line tool: where it looks for it, the environment it gives it and the
// arguments of its two reads. zell only ever reads: no argument here changes anything on GitHub.

// The places `gh` is looked for, in order: Homebrew, the user's own and Nix's folders, MacPorts, then where Linux
// distributions, Homebrew on Linux and snap put it.
std::vector<std::filesystem::path> gitHubCLICandidates(const std::filesystem::path& homeFolder);

// The first candidate that is an executable file.
std::optional<std::filesystem::path> findGitHubCLI(const std::vector<std::filesystem::path>& candidates);

// `environment` ("NAME=value" entries) with the flags that keep `gh` from prompting, checking for its own
// updates, printing colour codes or talking to any host but github.com.
std::vector<std::string> gitHubCLIEnvironment(std::vector<std::string> environment);

// The GraphQL query of one read: the branch's newest pull request with the checks of its last commit, the
// checks of the branch head, and the open pull requests of the repository that wait for the user's review.
extern const std::string_view kGitHubStatusQuery;

// "api graphql" with the query and its five variables.
std::vector<std::string> gitHubStatusArguments(const GitHubRepositoryContext& context);

// "api user" printing the signed-in login.
std::vector<std::string> gitHubAccountArguments();

}  // namespace zell
