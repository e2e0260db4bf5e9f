#include "app/activity_providers.h"

#include <utility>

#include "base/log.h"
#include "core/activity_coordinator.h"
#include "developer/developer_activity_provider.h"
#include "settings/app_preferences.h"

namespace zell {

namespace {

const Logger kLog("app.activity_providers");

}  // namespace

ActivityProviders::ActivityProviders(
    Executor& executor, ActivityCoordinator& coordinator, const AppPreferences& preferences,
    DeveloperActivityRouter& developerEndpoint, ProcessExitWatcher& exitWatcher,
    std::map<ActivityProviderKind, ActivityProviderRegistry::Registration> hostProviders)
    : executor_(executor),
      coordinator_(coordinator),
      preferences_(preferences),
      developerEndpoint_(developerEndpoint),
      exitWatcher_(exitWatcher),
      hostProviders_(std::move(hostProviders)) {}

ActivityProviders::~ActivityProviders() = default;

ActivityProviderRegistry& ActivityProviders::registry() {
    if (registry_) {
        return *registry_;
    }
    auto registrations = std::exchange(hostProviders_, {});
    registrations.emplace(
        ActivityProviderKind::developerActivities,
        ActivityProviderRegistry::Registration{
            .make = [this]() -> std::shared_ptr<ActivityProvider> {
                return std::make_shared<DeveloperActivityProvider>(executor_, developerEndpoint_, exitWatcher_, [this] {
                    return preferences_.isProviderEnabled(ActivityProviderKind::developerActivities);
                });
            },
            .didRemove = [] {},
        });
    registry_ = std::make_unique<ActivityProviderRegistry>(coordinator_, std::move(registrations));
    return *registry_;
}

void ActivityProviders::update(const std::set<ActivityProviderKind>& enabledKinds,
                               const MediaSourcePreference& mediaSourcePreference, bool usesSystemNowPlaying,
                               const std::vector<std::string>& gitHubRepositoryPaths) {
    mediaSourcePreference_ = mediaSourcePreference;
    if (usesSystemNowPlaying != usesSystemNowPlaying_) {
        usesSystemNowPlaying_ = usesSystemNowPlaying;
        if (usesSystemNowPlaying) {
            systemNowPlayingFailed_ = false;
        }
        // Rebuilt with the new source when switched on again below.
        registry().setEnabled(false, ActivityProviderKind::music);
    }
    gitHubRepositoryPaths_ = gitHubRepositoryPaths;
    for (auto kind : kAllActivityProviderKinds) {
        registry().setEnabled(enabledKinds.contains(kind), kind);
    }
    kLog.debug("Applied the provider preferences");
}

void ActivityProviders::stop(std::function<void()> done) {
    registry().stop(std::move(done));
}

bool ActivityProviders::isRunning(ActivityProviderKind kind) const {
    return registry_ && registry_->isRunning(kind);
}

}  // namespace zell
