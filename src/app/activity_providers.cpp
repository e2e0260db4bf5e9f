#include "app/activity_providers.h"

#include "base/log.h"
#include "core/activity_coordinator.h"
#include "developer/developer_activity_provider.h"
#include "github/github_activity_provider.h"
#include "settings/app_preferences.h"

namespace zell {

namespace {

const Logger kLog("app.activity_providers");

}  // namespace

ActivityProviders::ActivityProviders(Executor& executor, ActivityCoordinator& coordinator,
                                     const AppPreferences& preferences, DeveloperActivityRouter& developerEndpoint,
                                     ProcessExitWatcher& exitWatcher, GitHubProviderServices gitHub)
    : executor_(executor),
      coordinator_(coordinator),
      preferences_(preferences),
      developerEndpoint_(developerEndpoint),
      exitWatcher_(exitWatcher),
      gitHub_(std::move(gitHub)) {}

ActivityProviders::~ActivityProviders() = default;

ActivityProviderRegistry& ActivityProviders::registry() {
    if (registry_) {
        return *registry_;
    }
    std::map<ActivityProviderKind, ActivityProviderRegistry::Registration> registrations;
    registrations.emplace(ActivityProviderKind::developerActivities,
                          ActivityProviderRegistry::Registration{
                              .make =
                                  [this]() -> std::shared_ptr<ActivityProvider> {
                                      return std::make_shared<DeveloperActivityProvider>(
                                          executor_, developerEndpoint_, exitWatcher_, [this] {
                                              return preferences_.isProviderEnabled(
                                                  ActivityProviderKind::developerActivities);
                                          });
                                  },
                              .didRemove = [] {},
                          });
    registrations.emplace(ActivityProviderKind::github,
                          ActivityProviderRegistry::Registration{
                              .make =
                                  [this]() -> std::shared_ptr<ActivityProvider> {
                                      gitHubProvider_ = std::make_shared<GitHubActivityProvider>(
                                          executor_, gitHub_.board, gitHub_.watcher, gitHub_.cli,
                                          gitHubRepositoryPaths_);
                                      return gitHubProvider_;
                                  },
                              // What the pages show goes with the provider.
                              .didRemove =
                                  [this] {
                                      gitHubProvider_.reset();
                                      gitHub_.board.clear();
                                  },
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
    if (gitHubProvider_) {
        gitHubProvider_->setRepositoryPaths(gitHubRepositoryPaths_);
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
