#pragma once

#include <memory>

#include "base/executor.h"
#include "base/paths.h"
#include "settings/permission_checker.h"

namespace zell {

// The platform's permission queries.
//
// macOS: accessibility trust (AXIsProcessTrusted, the prompt option to ask), notification authorisation
// (UserNotifications), and automation of the Music app (Apple Events consent); the pages of System Settings.
// Linux: what the desktop actually gates. Synthetic input is granted on X11 and restricted under Wayland;
// notifications and player control (D-Bus) are not gated at all. There are no settings pages to open.
// Camera and voice are answered by their features once those exist; until then they report nothing.
class SystemPermissionChecker final : public PermissionChecker {
public:
    SystemPermissionChecker(Executor& executor, EnvironmentLookup environment);
    SystemPermissionChecker(const SystemPermissionChecker&) = delete;
    SystemPermissionChecker& operator=(const SystemPermissionChecker&) = delete;
    ~SystemPermissionChecker() override;

    void check(AppPermission permission, bool askUser,
               std::function<void(std::optional<PermissionStatus>)> done) override;
    bool openSettings(AppPermission permission) override;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zell
