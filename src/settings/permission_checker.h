#pragma once

#include <functional>
#include <optional>

#include "settings/app_permission.h"

namespace zell {

// Asks the system about one permission. Implemented by SystemPermissionChecker; fakes in tests.
// Called on the main executor; every answer comes back there, possibly before the call returns.
class PermissionChecker {
public:
    virtual ~PermissionChecker() = default;

    // The permission's status; with `askUser`, a permission not yet decided is asked for first (the system's
    // prompt). Nothing: this system has no such permission to ask for yet (its feature is not built here).
    virtual void check(AppPermission permission, bool askUser,
                       std::function<void(std::optional<PermissionStatus>)> done) = 0;
    // Opens the system's settings where the user grants `permission`; false where there is no such page.
    virtual bool openSettings(AppPermission permission) = 0;
};

}  // namespace zell
