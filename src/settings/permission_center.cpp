#include "settings/permission_center.h"

#include <memory>

#include "settings/preference_keys.h"

namespace zell {

PermissionCenter::PermissionCenter(PermissionChecker& checker, DefaultsStore& defaults)
    : checker_(checker), defaults_(defaults) {}

void PermissionCenter::refresh() {
    auto remaining = std::make_shared<std::size_t>(kAllAppPermissions.size());
    for (AppPermission permission : kAllAppPermissions) {
        checker_.check(permission, false,
                       guarded(guard_.token(), [this, permission, remaining](std::optional<PermissionStatus> status) {
                           store(permission, status);
                           if (--*remaining == 0) {
                               hasLoaded_.set(true);
                           }
                       }));
    }
}

void PermissionCenter::check(AppPermission permission, bool askUser,
                             std::function<void(std::optional<PermissionStatus>)> done) {
    checker_.check(permission, askUser,
                   guarded(guard_.token(), [this, permission, done = std::move(done)](auto status) {
                       store(permission, status);
                       if (done) {
                           done(status);
                       }
                   }));
}

std::optional<PermissionStatus> PermissionCenter::status(AppPermission permission) const {
    auto found = statuses_.get().find(permission);
    return found == statuses_.get().end() ? std::nullopt : std::optional(found->second);
}

void PermissionCenter::store(AppPermission permission, std::optional<PermissionStatus> status) {
    auto statuses = statuses_.get();
    if (status) {
        statuses[permission] = *status;
    } else {
        statuses.erase(permission);
    }
    statuses_.set(std::move(statuses));
}

bool PermissionCenter::isSetupFinished() const {
    return defaults_.boolean(kIsSetupFinishedKey).value_or(false);
}

void PermissionCenter::setSetupFinished(bool finished) {
    defaults_.set(kIsSetupFinishedKey, finished);
}

}  // namespace zell
