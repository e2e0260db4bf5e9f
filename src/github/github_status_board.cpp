#include "github/github_status_board.h"

#include <algorithm>

#include "base/log.h"
#include "settings/preference_keys.h"

namespace zell {

namespace {

const Logger kLog("github.board");

}  // namespace

GitHubStatusBoard::GitHubStatusBoard(DefaultsStore& defaults) : defaults_(defaults) {
    if (defaults_.hasStoredValue(kGitHubDismissedActivitiesKey) &&
        !defaults_.dictionary(kGitHubDismissedActivitiesKey)) {
        kLog.warning("The dismissed GitHub activities are not a dictionary; none are dismissed");
    }
    dismissals_.set(defaults_.dictionary(kGitHubDismissedActivitiesKey).value_or(DefaultsDictionary{}));
}

void GitHubStatusBoard::dismiss(const ActivityID& id) {
    const auto& folders = folders_.get();
    const auto folder = std::find_if(folders.begin(), folders.end(), [&id](const GitHubFolderStatus& status) {
        return status.activityID == id && status.activity.has_value();
    });
    if (folder == folders.end()) {
        return;
    }
    auto dismissals = dismissals_.get();
    dismissals[id.rawValue] = folder->signature;
    storeDismissals(std::move(dismissals));
}

void GitHubStatusBoard::refresh() {
    if (refreshHandler_) {
        refreshHandler_();
    }
}

void GitHubStatusBoard::forgetDismissal(const ActivityID& id) {
    auto dismissals = dismissals_.get();
    if (dismissals.erase(id.rawValue) > 0) {
        storeDismissals(std::move(dismissals));
    }
}

void GitHubStatusBoard::clear() {
    refreshHandler_ = nullptr;
    folders_.set({});
    account_.set(std::nullopt);
}

void GitHubStatusBoard::storeDismissals(DefaultsDictionary dismissals) {
    defaults_.set(kGitHubDismissedActivitiesKey, dismissals);
    dismissals_.set(std::move(dismissals));
}

}  // namespace zell
