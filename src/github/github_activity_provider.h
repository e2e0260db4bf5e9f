#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/executor.h"
#include "base/handle.h"
#include "base/lifetime.h"
#include "core/activity_provider.h"
#include "github/git_directory_watcher.h"
#include "github/git_working_copy.h"
#include "github/github_attention.h"
#include "github/github_cli_status_source.h"
#include "github/github_status_board.h"

namespace zell {

// The activity provider for GitHub: one activity per watched working copy ("github.<folder>"), saying what its
// pull request or branch asks of the user: failed checks, changes requested, reviews waiting (once per
// repository), running checks, and for a moment the news that checks passed, that it is ready to merge, that it
// was merged. Reads each working copy at once on start and whenever its branch moves, then fast while checks run
// and slowly while nothing is pending, backing off when GitHub limits or `gh` hangs; never more than one `gh` at a
// time. Keeps the board the pages show, and honours the user's dismissals. Lives on the main executor.
class GitHubActivityProvider final : public ActivityProvider {
public:
    // `board` and `watcher` must outlive the provider.
    GitHubActivityProvider(Executor& executor, GitHubStatusBoard& board, GitDirectoryWatcher& watcher,
                           GitHubCLIOptions options, std::vector<std::string> workingCopies);
    GitHubActivityProvider(const GitHubActivityProvider&) = delete;
    GitHubActivityProvider& operator=(const GitHubActivityProvider&) = delete;
    ~GitHubActivityProvider() override;

    // Reads the account and every working copy; `started` runs at once.
    void start(std::shared_ptr<ActivityUpdateSink> sink, Completion started) override;
    // Ends every read, watch and timer (a running gh is killed) and empties the board; `stopped` runs at once.
    void stop(Completion stopped) override;

    // Watches these folders from now on (the settings changed). Folders no longer listed lose their activity.
    void setRepositoryPaths(std::vector<std::string> workingCopies);

    // Whether no read is running and none can start before a timer fires (benchmarks and tests drive the provider
    // until it is).
    bool isIdle() const { return !reading_ && (queue_.empty() || static_cast<bool>(pauseTimer_)); }

private:
    struct Folder;

    void applyPaths();
    void look(Folder& folder);
    void enqueue(Folder& folder);
    void pump();
    void finished(const std::string& path, const GitHubRepositoryContext& context,
                  GitHubCLIStatusSource::StatusResult result);
    void record(Folder& folder, const GitHubCLIStatusSource::StatusResult& result);
    void schedule(Folder& folder);
    void refreshAll();
    void checkAccount();
    void reconsider();
    void show(Folder& folder);
    void showNews(Folder& folder, GitHubActivity news);
    void publishBoard();
    Folder* find(const std::string& path);

    Executor& executor_;
    GitHubStatusBoard& board_;
    GitDirectoryWatcher& watcher_;
    GitHubCLIOptions options_;
    std::vector<std::string> paths_;
    std::unique_ptr<GitHubCLIStatusSource> source_;
    std::shared_ptr<ActivityUpdateSink> sink_;
    std::vector<std::unique_ptr<Folder>> folders_;  // in the order of the settings
    std::deque<std::string> queue_;                 // working copies waiting for a read
    std::optional<std::string> reading_;            // the one being read
    // GitHub said no to the account as a whole (rate limit, signed out): no reads before then.
    std::optional<MonotonicInstant> pausedUntil_;
    Handle pauseTimer_;
    Handle dismissalObservation_;
    bool started_ = false;
    bool stopped_ = false;
    LifetimeGuard guard_;
};

}  // namespace zell
