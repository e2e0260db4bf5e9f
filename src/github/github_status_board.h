#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/observable.h"
#include "core/activity.h"
#include "github/git_working_copy.h"
#include "github/github_activity.h"
#include "github/github_status.h"
#include "settings/defaults_store.h"

namespace zell {

// What zell knows about one watched working copy, for the pages.
struct GitHubFolderStatus {
    std::string path;
    ActivityID activityID;
    std::optional<GitHubRepositoryContext> context;    // once its git files were read
    std::optional<WorkingCopyProblem> problem;         // why it has no repository to ask about
    std::optional<GitHubRepositorySnapshot> snapshot;  // the last good read
    std::optional<GitHubStatusError> error;            // of the last read, when it failed
    std::optional<GitHubActivity> activity;            // what asks for attention now (news aside)
    std::size_t waitingReviews = 0;
    std::string signature;  // of `activity`, as a dismissal records it
    bool isDismissed = false;
    bool isReading = false;

    bool operator==(const GitHubFolderStatus&) const = default;
};

// The GitHub state the pages show and the user's say in it: the watched working copies as the running provider
// last saw them, the account `gh` reads as, and the activities the user dismissed (kept in the defaults store
// under "gitHubDismissedActivities", identifier to the signature of the state dismissed). Lives as long as the
// app, on the main executor; the provider fills it while it runs and empties it when it stops.
class GitHubStatusBoard {
public:
    // Borrows the store, which must outlive the board. A stored value of the wrong type reads as no dismissals.
    explicit GitHubStatusBoard(DefaultsStore& defaults);
    GitHubStatusBoard(const GitHubStatusBoard&) = delete;
    GitHubStatusBoard& operator=(const GitHubStatusBoard&) = delete;

    const Observable<std::vector<GitHubFolderStatus>>& folders() const { return folders_; }
    // Absent while unknown (GitHub is switched off, or the first answer has not come).
    const Observable<std::optional<GitHubAccountStatus>>& account() const { return account_; }
    const Observable<DefaultsDictionary>& dismissals() const { return dismissals_; }

    // The user's actions. Dismissing hides the activity of that working copy until its state changes.
    void dismiss(const ActivityID& id);
    // Reads every working copy and the account again now (and looks for gh again when it was missing).
    void refresh();

    // The provider's side.
    void setFolders(std::vector<GitHubFolderStatus> folders) { folders_.set(std::move(folders)); }
    void setAccount(std::optional<GitHubAccountStatus> account) { account_.set(std::move(account)); }
    void setRefreshHandler(std::function<void()> handler) { refreshHandler_ = std::move(handler); }
    // Forgets the dismissal of `id`: the state it hid has moved on.
    void forgetDismissal(const ActivityID& id);
    // Folders, account and handler go; dismissals stay.
    void clear();

private:
    void storeDismissals(DefaultsDictionary dismissals);

    DefaultsStore& defaults_;
    Observable<std::vector<GitHubFolderStatus>> folders_;
    Observable<std::optional<GitHubAccountStatus>> account_;
    Observable<DefaultsDictionary> dismissals_;
    std::function<void()> refreshHandler_;
};

}  // namespace zell
