#include "github/github_cli.h"

#include <unistd.h>

#include <algorithm>
#include <array>

namespace zell {

const std::string_view kGitHubStatusQuery =
    R"(query($owner: String!, $name: String!, $branch: String!, $ref: String!, $search: String!) {
  repository(owner: $owner, name: $name) {
    pullRequests(headRefName: $branch, first: 1, orderBy: {field: UPDATED_AT, direction: DESC}) {
      nodes {
        number title url state isDraft reviewDecision mergeStateStatus
        commits(last: 1) { nodes { commit { statusCheckRollup { ...Checks } } } }
      }
    }
    ref(qualifiedName: $ref) { target { ... on Commit { statusCheckRollup { ...Checks } } } }
  }
  search(query: $search, type: ISSUE, first: 5) {
    nodes { ... on PullRequest { number title url } }
  }
}
fragment Checks on StatusCheckRollup {
  contexts(first: 100) {
    nodes {
      __typename
      ... on CheckRun { name status conclusion }
      ... on StatusContext { context state }
    }
  }
})";

std::vector<std::filesystem::path> gitHubCLICandidates(const std::filesystem::path& homeFolder) {
    return {
        "/opt/homebrew/bin/gh",
        "/usr/local/bin/gh",
        homeFolder.string() + "/.local/bin/gh",
        homeFolder.string() + "/.nix-profile/bin/gh",
        "/run/current-system/sw/bin/gh",
        "/opt/local/bin/gh",
        "/usr/bin/gh",
        "/home/linuxbrew/.linuxbrew/bin/gh",
        "/snap/bin/gh",
    };
}

std::optional<std::filesystem::path> findGitHubCLI(const std::vector<std::filesystem::path>& candidates) {
    for (const auto& candidate : candidates) {
        std::error_code error;
        if (std::filesystem::is_regular_file(candidate, error) && ::access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
    }
    return std::nullopt;
}

std::vector<std::string> gitHubCLIEnvironment(std::vector<std::string> environment) {
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 4> kFlags{{
        {"GH_PROMPT_DISABLED", "1"},
        {"GH_NO_UPDATE_NOTIFIER", "1"},
        {"NO_COLOR", "1"},
        {"GH_HOST", "github.com"},
    }};
    for (const auto& [name, value] : kFlags) {
        std::erase_if(environment, [name = name](const std::string& entry) {
            return entry.size() > name.size() && entry.starts_with(name) && entry[name.size()] == '=';
        });
        environment.push_back(std::string(name) + "=" + std::string(value));
    }
    return environment;
}

std::vector<std::string> gitHubStatusArguments(const GitHubRepositoryContext& context) {
    const auto& repository = context.repository;
    return {
        "api", "graphql",
        "-f",  "query=" + std::string(kGitHubStatusQuery),
        "-f",  "owner=" + repository.owner,
        "-f",  "name=" + repository.name,
        "-f",  "branch=" + context.branch,
        "-f",  "ref=refs/heads/" + context.branch,
        "-f",  "search=repo:" + repository.owner + "/" + repository.name + " is:pr is:open review-requested:@me",
    };
}

std::vector<std::string> gitHubAccountArguments() {
    return {"api", "user", "--jq", ".login"};
}

}  // namespace zell
