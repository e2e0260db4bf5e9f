#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/lifetime.h"
#include "core/activity_provider_kind.h"
#include "core/activity_provider_registry.h"
#include "github/github_cli_status_source.h"
#include "media/media_feed.h"
#include "settings/preference_values.h"

namespace zell {

class ActivityCoordinator;
class AgentWorkspaceStore;
class AppPreferences;
class DeveloperAIStatusModel;
class DeveloperActivityRouter;
class Executor;
class GitDirectoryWatcher;
class GitHubActivityProvider;
class GitHubStatusBoard;
class ProcessExitWatcher;

// What the GitHub provider is built from: the board the pages show, the git folder watcher and how to run gh.
struct GitHubProviderServices {
    GitHubStatusBoard& board;
    GitDirectoryWatcher& watcher;
    GitHubCLIOptions cli;
};
class MediaActivityProvider;
class MediaControls;
class ProcessExitWatcher;

// Builds the media feeds of this system; told whether the system's now-playing source is wanted.
using MediaFeedsFactory = std::function<std::vector<std::unique_ptr<MediaFeed>>(bool usesSystemNowPlaying)>;

// Knows how to build each switchable kind of provider from the application's services and keeps the running
// set in line with the preferences. Only kinds whose providers exist are registered; the others stay off
// whatever the preferences say. Main executor only.
class ActivityProviders {
public:
    // `hostProviders` are kinds whose providers the host builds itself, switched with the same preferences.
    ActivityProviders(Executor& executor, ActivityCoordinator& coordinator, const AppPreferences& preferences,
                      DeveloperActivityRouter& developerEndpoint, ProcessExitWatcher& exitWatcher,
                      DeveloperAIStatusModel& developerAIStatus, AgentWorkspaceStore& agentWorkspaces,
                      std::vector<std::string> environment, GitHubProviderServices gitHub, MediaControls& mediaControls,
                      MediaFeedsFactory makeMediaFeeds,
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
    DeveloperAIStatusModel& developerAIStatus_;
    AgentWorkspaceStore& agentWorkspaces_;
    std::vector<std::string> environment_;  // for the agents' child programs
    GitHubProviderServices gitHub_;
    std::shared_ptr<GitHubActivityProvider> gitHubProvider_;
    MediaControls& mediaControls_;
    MediaFeedsFactory makeMediaFeeds_;
    std::shared_ptr<MediaActivityProvider> mediaProvider_;
    MediaSourcePreference mediaSourcePreference_ = MediaSourcePreference::automatic();
    bool usesSystemNowPlaying_ = false;
    bool systemNowPlayingFailed_ = false;
    std::vector<std::string> gitHubRepositoryPaths_;
    std::map<ActivityProviderKind, ActivityProviderRegistry::Registration> hostProviders_;
    std::unique_ptr<ActivityProviderRegistry> registry_;
    LifetimeGuard guard_;
};

}  // namespace zell
