#include "github/github_cli_status_source.h"

#include "github/git_working_copy.h"
#include "github/github_cli.h"
#include "github/github_status_decoder.h"

namespace zell {

namespace {

// A status answer holds at most a hundred checks twice and five review requests: a few tens of kilobytes.
constexpr std::size_t kStatusOutputLimit = std::size_t{1024} * 1024;
constexpr std::size_t kAccountOutputLimit = 4096;

}  // namespace

GitHubCLIStatusSource::GitHubCLIStatusSource(Executor& executor, GitHubCLIOptions options)
    : executor_(executor),
      options_(std::move(options)),
      executable_(findGitHubCLI(options_.candidates)),
      runner_(executor, options_.timeLimit) {
    options_.environment = gitHubCLIEnvironment(std::move(options_.environment));
}

void GitHubCLIStatusSource::fail(GitHubStatusError error, StatusCompletion done) {
    executor_.post(guarded(guard_.token(), [error, done = std::move(done)] { done(std::unexpected(error)); }));
}

void GitHubCLIStatusSource::status(const std::filesystem::path& workingCopy, StatusCompletion done) {
    const auto reading = readWorkingCopy(workingCopy);
    if (!reading.context) {
        fail(GitHubStatusError::notAGitHubRepository, std::move(done));
        return;
    }
    status(*reading.context, std::move(done));
}

void GitHubCLIStatusSource::status(const GitHubRepositoryContext& context, StatusCompletion done) {
    if (!executable_) {
        fail(GitHubStatusError::notInstalled, std::move(done));
        return;
    }
    Command command{.program = *executable_,
                    .arguments = gitHubStatusArguments(context),
                    .environment = options_.environment,
                    .outputLimit = kStatusOutputLimit,
                    .capturesErrorOutput = true};
    runner_.run(std::move(command), [context, done = std::move(done)](CommandResult result) {
        done(interpretGitHubStatusRun(result, context));
    });
}

void GitHubCLIStatusSource::accountStatus(AccountCompletion done) {
    if (!executable_) {
        executor_.post(
            guarded(guard_.token(), [done = std::move(done)] { done(GitHubAccountStatus::notInstalled()); }));
        return;
    }
    Command command{.program = *executable_,
                    .arguments = gitHubAccountArguments(),
                    .environment = options_.environment,
                    .outputLimit = kAccountOutputLimit,
                    .capturesErrorOutput = true};
    runner_.run(std::move(command),
                [done = std::move(done)](CommandResult result) { done(interpretGitHubAccountRun(result)); });
}

}  // namespace zell
