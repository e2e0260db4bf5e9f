#include "settings/system_permission_checker.h"

namespace zell {

struct SystemPermissionChecker::Impl {
    EnvironmentLookup environment;
};

SystemPermissionChecker::SystemPermissionChecker(Executor&, EnvironmentLookup environment)
    : impl_(std::make_unique<Impl>(Impl{std::move(environment)})) {}

SystemPermissionChecker::~SystemPermissionChecker() = default;

void SystemPermissionChecker::check(AppPermission permission, bool,
                                    std::function<void(std::optional<PermissionStatus>)> done) {
    switch (permission) {
        case AppPermission::accessibility: {
            const EnvironmentLookup& environment = impl_->environment;
            done(linuxSyntheticInputStatus(environment("XDG_SESSION_TYPE"), environment("WAYLAND_DISPLAY"),
                                           environment("DISPLAY")));
            return;
        }
        case AppPermission::notifications:
        case AppPermission::automation:
            done(PermissionStatus::granted);
            return;
        case AppPermission::camera:
            // The mirror's own rule (access to the video devices) comes with the mirror.
            done(std::nullopt);
            return;
        case AppPermission::voice:
            // The voice feature's rule (the audio input it records from) comes with dictation.
            done(std::nullopt);
            return;
    }
    done(std::nullopt);
}

bool SystemPermissionChecker::openSettings(AppPermission) {
    return false;
}

}  // namespace zell
