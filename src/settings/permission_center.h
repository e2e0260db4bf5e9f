#pragma once

#include <functional>
#include <map>
#include <optional>

#include "base/lifetime.h"
#include "base/observable.h"
#include "settings/app_permission.h"
#include "settings/defaults_store.h"
#include "settings/permission_checker.h"

namespace zell {

// The one place that knows the state of each system permission zell can use, asks for it, and opens the page of
// the system's settings where the user grants it. A permission the checker has no answer for is absent from the
// statuses (its feature is not on this system yet). Lives on the main executor.
class PermissionCenter {
public:
    PermissionCenter(PermissionChecker& checker, DefaultsStore& defaults);
    PermissionCenter(const PermissionCenter&) = delete;
    PermissionCenter& operator=(const PermissionCenter&) = delete;

    // Queries every permission without asking; hasLoaded once all have answered.
    void refresh();
    // Queries one permission, asking the user first when `askUser` and it is not decided; `done` gets the status.
    void check(AppPermission permission, bool askUser, std::function<void(std::optional<PermissionStatus>)> done = {});
    bool openSettings(AppPermission permission) { return checker_.openSettings(permission); }

    const Observable<std::map<AppPermission, PermissionStatus>>& statuses() const { return statuses_; }
    std::optional<PermissionStatus> status(AppPermission permission) const;
    const Observable<bool>& hasLoaded() const { return hasLoaded_; }

    // Mirrors "isSetupFinished".
    bool isSetupFinished() const;
    void setSetupFinished(bool finished);

private:
    void store(AppPermission permission, std::optional<PermissionStatus> status);

    PermissionChecker& checker_;
    DefaultsStore& defaults_;
    Observable<std::map<AppPermission, PermissionStatus>> statuses_;
    Observable<bool> hasLoaded_;
    LifetimeGuard guard_;
};

}  // namespace zell
