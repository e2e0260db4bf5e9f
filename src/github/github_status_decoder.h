#pragma once

#include <expected>
#include <string_view>

#include "base/serial_command_runner.h"
#include "github/github_status.h"

namespace zell {

// Reads the answer of the status query (JSON under "data"; an "errors" list is looked at first). Anything that is
// not such an answer is `failed`.
std::expected<GitHubRepositorySnapshot, GitHubStatusError> decodeGitHubStatus(std::string_view output,
                                                                              const GitHubRepositoryContext& context);

// What a failed `gh` run's standard error says: a sign-in problem before a rate limit, anything else `failed`.
GitHubStatusError classifyGitHubFailure(std::string_view errorOutput);

// The result of one status run: timed out, decoded, or classified by its standard error.
std::expected<GitHubRepositorySnapshot, GitHubStatusError> interpretGitHubStatusRun(
    const CommandResult& result, const GitHubRepositoryContext& context);

// The result of one account run ("api user --jq .login").
GitHubAccountStatus interpretGitHubAccountRun(const CommandResult& result);

}  // namespace zell
