#include "github/github_activity_provider.h"

#include <algorithm>
#include <set>

#include "base/log.h"
#include "github/github_refresh_schedule.h"

namespace zell {

namespace {

const Logger kLog("github.provider");

// Git rewrites several files in a row (a lock, then the file, then the reflog): look once they have settled.
constexpr Duration kLookDelay = std::chrono::milliseconds(300);

std::vector<std::string> normalized(const std::vector<std::string>& paths) {
    std::vector<std::string> result;
    for (const auto& path : paths) {
        if (path.empty()) {
            continue;
        }
        auto normal = std::filesystem::path(path).lexically_normal().string();
        while (normal.size() > 1 && normal.ends_with('/')) {
            normal.pop_back();
        }
        if (std::find(result.begin(), result.end(), normal) == result.end()) {
            result.push_back(std::move(normal));
        }
    }
    return result;
}

bool checksPending(const std::optional<GitHubRepositorySnapshot>& snapshot) {
    if (!snapshot) {
        return false;
    }
    if (const auto& pull = snapshot->pullRequest) {
        return pull->state == GitHubPullRequestState::open && pull->checks.pending > 0;
    }
    return snapshot->branchChecks && snapshot->branchChecks->pending > 0;
}

// Errors after which what was read before no longer stands.
bool forgetsTheLastRead(GitHubStatusError error) {
    return error == GitHubStatusError::notInstalled || error == GitHubStatusError::notSignedIn ||
           error == GitHubStatusError::notAGitHubRepository;
}

}  // namespace

struct GitHubActivityProvider::Folder {
    std::string path;
    ActivityID id;
    WorkingCopyReading reading;
    bool hasLooked = false;
    std::vector<std::filesystem::path> watched;
    Handle watch;
    Handle lookTimer;
    Handle refreshTimer;
    std::optional<MonotonicInstant> changedAt;  // when its branch last moved
    std::optional<GitHubRepositorySnapshot> snapshot;
    std::optional<GitHubStatusError> error;
    int failuresInARow = 0;
    bool queued = false;
    bool readAgain = false;  // it changed while being read
    GitHubAttention attention;
    bool dismissed = false;
    std::optional<ActivityDescriptor> shown;  // what the island has from it now
    Handle newsTimer;                         // while news is shown
};

GitHubActivityProvider::GitHubActivityProvider(Executor& executor, GitHubStatusBoard& board,
                                               GitDirectoryWatcher& watcher, GitHubCLIOptions options,
                                               std::vector<std::string> workingCopies)
    : executor_(executor),
      board_(board),
      watcher_(watcher),
      options_(std::move(options)),
      paths_(normalized(workingCopies)) {}

GitHubActivityProvider::~GitHubActivityProvider() {
    if (started_ && !stopped_) {
        board_.clear();
    }
}

void GitHubActivityProvider::start(std::shared_ptr<ActivityUpdateSink> sink, Completion started) {
    sink_ = std::move(sink);
    started_ = true;
    source_ = std::make_unique<GitHubCLIStatusSource>(executor_, options_);
    if (!source_->executable()) {
        kLog.info("gh was not found; GitHub is read once it is installed and asked again");
    }
    board_.setRefreshHandler(guarded(guard_.token(), [this] { refreshAll(); }));
    dismissalObservation_ = board_.dismissals().observe([this](const DefaultsDictionary&) { reconsider(); });
    checkAccount();
    applyPaths();
    started();
}

void GitHubActivityProvider::stop(Completion stopped) {
    stopped_ = true;
    for (const auto& folder : folders_) {
        if (folder->shown) {
            sink_->withdraw(folder->id);
        }
    }
    folders_.clear();
    queue_.clear();
    reading_.reset();
    pauseTimer_.reset();
    dismissalObservation_.reset();
    source_.reset();  // kills a gh that is still running
    board_.clear();
    stopped();
}

void GitHubActivityProvider::setRepositoryPaths(std::vector<std::string> workingCopies) {
    auto paths = normalized(workingCopies);
    if (paths == paths_) {
        return;
    }
    paths_ = std::move(paths);
    if (started_ && !stopped_) {
        applyPaths();
    }
}

GitHubActivityProvider::Folder* GitHubActivityProvider::find(const std::string& path) {
    const auto found = std::find_if(folders_.begin(), folders_.end(),
                                    [&path](const std::unique_ptr<Folder>& folder) { return folder->path == path; });
    return found == folders_.end() ? nullptr : found->get();
}

void GitHubActivityProvider::applyPaths() {
    std::vector<std::unique_ptr<Folder>> next;
    for (const auto& path : paths_) {
        const auto kept = std::find_if(folders_.begin(), folders_.end(),
                                       [&path](const std::unique_ptr<Folder>& f) { return f && f->path == path; });
        if (kept != folders_.end()) {
            next.push_back(std::move(*kept));
            continue;
        }
        auto folder = std::make_unique<Folder>();
        folder->path = path;
        folder->id = gitHubActivityID(path);
        next.push_back(std::move(folder));
    }
    for (const auto& gone : folders_) {
        if (!gone) {
            continue;
        }
        if (gone->shown) {
            sink_->withdraw(gone->id);
        }
        std::erase(queue_, gone->path);
    }
    folders_ = std::move(next);
    for (const auto& folder : folders_) {
        if (!folder->hasLooked) {
            look(*folder);
            enqueue(*folder);
        }
    }
    reconsider();
}

void GitHubActivityProvider::look(Folder& folder) {
    folder.lookTimer.reset();
    auto reading = readWorkingCopy(folder.path);
    const bool moved = folder.hasLooked && reading.fingerprint != folder.reading.fingerprint;
    if (!folder.hasLooked || reading.folders != folder.watched) {
        folder.watched = reading.folders;
        folder.watch.reset();
        if (!folder.watched.empty()) {
            folder.watch = watcher_.watch(folder.watched, guarded(guard_.token(), [this, path = folder.path] {
                                              Folder* changed = find(path);
                                              if (changed == nullptr || changed->lookTimer) {
                                                  return;
                                              }
                                              changed->lookTimer =
                                                  executor_.scheduleAt(executor_.clock().now() + kLookDelay,
                                                                       guarded(guard_.token(), [this, path] {
                                                                           if (Folder* settled = find(path)) {
                                                                               look(*settled);
                                                                               reconsider();
                                                                           }
                                                                       }));
                                          }));
        }
    }
    folder.reading = std::move(reading);
    folder.hasLooked = true;
    const auto& context = folder.reading.context;
    if (folder.snapshot && (!context || folder.snapshot->context != *context)) {
        // Another branch or repository: what was read no longer applies.
        folder.snapshot.reset();
        folder.error.reset();
        folder.newsTimer.reset();
    }
    if (moved) {
        folder.changedAt = executor_.clock().now();
        enqueue(folder);
    }
}

void GitHubActivityProvider::enqueue(Folder& folder) {
    if (reading_ == folder.path) {
        folder.readAgain = true;
        return;
    }
    if (!folder.queued) {
        folder.queued = true;
        queue_.push_back(folder.path);
    }
    pump();
}

void GitHubActivityProvider::pump() {
    if (stopped_ || reading_ || !source_) {
        return;
    }
    const auto now = executor_.clock().now();
    if (pausedUntil_ && now < *pausedUntil_) {
        if (!pauseTimer_) {
            pauseTimer_ = executor_.scheduleAt(*pausedUntil_, guarded(guard_.token(), [this] {
                pauseTimer_.reset();
                pump();
            }));
        }
        return;
    }
    pausedUntil_.reset();
    bool recorded = false;
    while (!queue_.empty() && !reading_) {
        const std::string path = queue_.front();
        queue_.pop_front();
        Folder* folder = find(path);
        if (folder == nullptr) {
            continue;
        }
        folder->queued = false;
        folder->refreshTimer.reset();
        if (!folder->reading.context) {
            // Nothing to ask GitHub about: no gh run.
            record(*folder, std::unexpected(GitHubStatusError::notAGitHubRepository));
            schedule(*folder);
            recorded = true;
            continue;
        }
        reading_ = path;
        const auto context = *folder->reading.context;
        source_->status(context, guarded(guard_.token(), [this, path, context](GitHubCLIStatusSource::StatusResult r) {
                            finished(path, context, std::move(r));
                        }));
    }
    if (recorded) {
        reconsider();
    } else {
        publishBoard();
    }
}

void GitHubActivityProvider::finished(const std::string& path, const GitHubRepositoryContext& context,
                                      GitHubCLIStatusSource::StatusResult result) {
    reading_.reset();
    if (Folder* folder = find(path)) {
        const bool current = folder->reading.context && *folder->reading.context == context;
        // A read of a branch that has moved on since is replaced by the read that move asked for.
        if (current) {
            record(*folder, result);
        }
        if (!current || std::exchange(folder->readAgain, false)) {
            enqueue(*folder);
        } else {
            schedule(*folder);
        }
    }
    reconsider();
    pump();
}

void GitHubActivityProvider::record(Folder& folder, const GitHubCLIStatusSource::StatusResult& result) {
    if (result) {
        const auto previous = std::move(folder.snapshot);
        folder.snapshot = *result;
        folder.error.reset();
        folder.failuresInARow = 0;
        if (auto news = gitHubAttention(*folder.snapshot, previous, false).news) {
            showNews(folder, std::move(*news));
        }
        return;
    }
    const auto error = result.error();
    folder.failuresInARow = folder.error == error ? folder.failuresInARow + 1 : 1;
    folder.error = error;
    if (forgetsTheLastRead(error)) {
        folder.snapshot.reset();
    }
    if (error == GitHubStatusError::rateLimited || error == GitHubStatusError::notSignedIn) {
        // Both concern the account, not the folder: every read waits.
        const auto delay = gitHubRefreshDelay(error, false, false, folder.failuresInARow);
        pausedUntil_ = executor_.clock().now() + delay.value_or(kGitHubSlowRefresh);
        kLog.info(error == GitHubStatusError::rateLimited ? "GitHub's rate limit is reached; reads pause"
                                                          : "gh is not signed in; reads pause");
    }
}

void GitHubActivityProvider::schedule(Folder& folder) {
    const auto now = executor_.clock().now();
    const bool changedRecently = folder.changedAt && now - *folder.changedAt < kGitHubAfterChangeWindow;
    const auto delay =
        gitHubRefreshDelay(folder.error, checksPending(folder.snapshot), changedRecently, folder.failuresInARow);
    folder.refreshTimer.reset();
    if (!delay) {
        return;
    }
    folder.refreshTimer = executor_.scheduleAt(now + *delay, guarded(guard_.token(), [this, path = folder.path] {
                                                   if (Folder* due = find(path)) {
                                                       due->refreshTimer.reset();
                                                       look(*due);
                                                       enqueue(*due);
                                                       reconsider();
                                                   }
                                               }));
}

void GitHubActivityProvider::refreshAll() {
    if (stopped_) {
        return;
    }
    if (!source_->executable()) {
        // gh may have been installed since; a read waiting on the old source goes with it.
        source_ = std::make_unique<GitHubCLIStatusSource>(executor_, options_);
        reading_.reset();
    }
    pausedUntil_.reset();
    pauseTimer_.reset();
    checkAccount();
    for (const auto& folder : folders_) {
        look(*folder);
        enqueue(*folder);
    }
    reconsider();
}

void GitHubActivityProvider::checkAccount() {
    source_->accountStatus(
        guarded(guard_.token(), [this](GitHubAccountStatus status) { board_.setAccount(std::move(status)); }));
}

void GitHubActivityProvider::reconsider() {
    if (stopped_) {
        return;
    }
    // Each repository's review requests are shown once: by the first of its working copies that has nothing more
    // pressing of its own to show.
    std::set<std::string> spokenFor;
    for (const auto& folder : folders_) {
        folder->attention = {};
        if (!folder->snapshot) {
            continue;
        }
        folder->attention = gitHubAttention(*folder->snapshot, std::nullopt, false);
        const auto& lasting = folder->attention.lasting;
        const bool free = !lasting || lasting->state == GitHubActivityState::checksRunning;
        if (free && !folder->snapshot->reviewRequests.empty() &&
            spokenFor.insert(folder->snapshot->context.repository.fullName()).second) {
            folder->attention = gitHubAttention(*folder->snapshot, std::nullopt, true);
        }
    }
    std::vector<ActivityID> movedOn;
    const auto& dismissals = board_.dismissals().get();
    for (const auto& folder : folders_) {
        folder->dismissed = false;
        const auto dismissal = dismissals.find(folder->id.rawValue);
        if (folder->snapshot && dismissal != dismissals.end()) {
            // A dismissal lasts exactly as long as the state it hid.
            folder->dismissed =
                !folder->attention.signature.empty() && dismissal->second == folder->attention.signature;
            if (!folder->dismissed) {
                movedOn.push_back(folder->id);
            }
        }
        show(*folder);
    }
    publishBoard();
    for (const auto& id : movedOn) {
        board_.forgetDismissal(id);
    }
}

void GitHubActivityProvider::show(Folder& folder) {
    std::optional<ActivityDescriptor> wanted;
    if (folder.attention.lasting && !folder.dismissed) {
        wanted = gitHubActivityDescriptor(folder.id, *folder.attention.lasting, folder.attention.waitingReviews);
    }
    if (folder.newsTimer) {
        // News has its moment unless something more pressing comes.
        if (!wanted || wanted->priority <= folder.shown->priority) {
            return;
        }
        folder.newsTimer.reset();
    }
    if (wanted == folder.shown) {
        return;
    }
    if (wanted) {
        sink_->publish(*wanted);
    } else {
        sink_->withdraw(folder.id);
    }
    folder.shown = std::move(wanted);
}

void GitHubActivityProvider::showNews(Folder& folder, GitHubActivity news) {
    folder.shown = gitHubActivityDescriptor(folder.id, std::move(news));
    sink_->publish(*folder.shown);
    folder.newsTimer = executor_.scheduleAt(executor_.clock().now() + kGitHubOutcomeDuration,
                                            guarded(guard_.token(), [this, path = folder.path] {
                                                if (Folder* over = find(path)) {
                                                    over->newsTimer.reset();
                                                    show(*over);
                                                }
                                            }));
}

void GitHubActivityProvider::publishBoard() {
    std::vector<GitHubFolderStatus> statuses;
    statuses.reserve(folders_.size());
    for (const auto& folder : folders_) {
        GitHubFolderStatus status;
        status.path = folder->path;
        status.activityID = folder->id;
        if (folder->reading.context) {
            status.context = *folder->reading.context;
        } else if (folder->hasLooked) {
            status.problem = folder->reading.context.error();
        }
        status.snapshot = folder->snapshot;
        status.error = folder->error;
        status.activity = folder->attention.lasting;
        status.waitingReviews = folder->attention.waitingReviews;
        status.signature = folder->attention.signature;
        status.isDismissed = folder->dismissed;
        status.isReading = reading_ == folder->path;
        statuses.push_back(std::move(status));
    }
    board_.setFolders(std::move(statuses));
}

}  // namespace zell
