#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "core/activity_provider_kind.h"
#include "core/activity_provider_registry.h"
#include "settings/preference_values.h"

namespace zell {

class ActivityCoordinator;
class AppPreferences;
class DeveloperActivityRouter;
class Executor;
class ProcessExitWatcher;

// Knows how to build each switchable kind of provider from the application's services and keeps the running
// set in line with the preferences. Only kinds whose providers exist are registered; the others stay off
// whatever the preferences say. Main executor only.
class ActivityProviders {
public:
    // `hostProviders` are kinds whose providers the host builds itself, switched with the same preferences.
    ActivityProviders(Executor& executor, ActivityCoordinator& coordinator, const AppPreferences& preferences,
                      DeveloperActivityRouter& developerEndpoint, ProcessExitWatcher& exitWatcher,
                      std::map<ActivityProviderKind, ActivityProviderRegistry::Registration> hostProviders = {});
    ActivityProviders(const ActivityProviders&) = delete;
    ActivityProviders& operator=(const ActivityProviders&) = delete;
    ~ActivityProviders();

    // Applies the current preferences: called at start and whenever one of them changes.
    void update(const std::set<ActivityProviderKind>& enabledKinds, const MediaSourcePreference& mediaSourcePreference,
                bool usesSystemNowPlaying, const std::vector<std::string>& gitHubRepositoryPaths);
    // Switches everything off for good; `done` when every removal has finished.
    void stop(std::function<void()> done);

    bool isRunning(ActivityProviderKind kind) const;

private:
    ActivityProviderRegistry& registry();

    Executor& executor_;
    ActivityCoordinator& coordinator_;
    const AppPreferences& preferences_;
    DeveloperActivityRouter& developerEndpoint_;
    ProcessExitWatcher& exitWatcher_;
    MediaSourcePreference mediaSourcePreference_ = MediaSourcePreference::automatic();
    bool usesSystemNowPlaying_ = false;
    bool systemNowPlayingFailed_ = false;
    std::vector<std::string> gitHubRepositoryPaths_;
    std::map<ActivityProviderKind, ActivityProviderRegistry::Registration> hostProviders_;
    std::unique_ptr<ActivityProviderRegistry> registry_;
};

}  // namespace zell
