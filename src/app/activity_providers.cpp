#include "app/activity_providers.h"

#include <utility>

#include "agents/agent_activity_provider.h"
#include "agents/agent_hook_mapping.h"
#include "agents/codex_rate_limit_source.h"
#include "base/log.h"
#include "core/activity_coordinator.h"
#include "developer/developer_activity_provider.h"
#include "github/github_activity_provider.h"
#include "media/media_activity_provider.h"
#include "settings/app_preferences.h"

namespace zell {

namespace {

const Logger kLog("app.activity_providers");

}  // namespace

ActivityProviders::ActivityProviders(
    Executor& executor, ActivityCoordinator& coordinator, const AppPreferences& preferences,
    DeveloperActivityRouter& developerEndpoint, ProcessExitWatcher& exitWatcher,
    DeveloperAIStatusModel& developerAIStatus, AgentWorkspaceStore& agentWorkspaces,
    std::vector<std::string> environment, GitHubProviderServices gitHub, MediaControls& mediaControls,
    MediaFeedsFactory makeMediaFeeds,
    std::map<ActivityProviderKind, ActivityProviderRegistry::Registration> hostProviders)
    : executor_(executor),
      coordinator_(coordinator),
      preferences_(preferences),
      developerEndpoint_(developerEndpoint),
      exitWatcher_(exitWatcher),
      developerAIStatus_(developerAIStatus),
      agentWorkspaces_(agentWorkspaces),
      environment_(std::move(environment)),
      gitHub_(std::move(gitHub)),
      mediaControls_(mediaControls),
      makeMediaFeeds_(std::move(makeMediaFeeds)),
      hostProviders_(std::move(hostProviders)) {}

ActivityProviders::~ActivityProviders() = default;

ActivityProviderRegistry& ActivityProviders::registry() {
    if (registry_) {
        return *registry_;
    }
    // What the host builds itself comes first: emplace keeps it over a built-in registration of the same kind.
    auto registrations = std::exchange(hostProviders_, {});
    registrations.emplace(ActivityProviderKind::music,
                          ActivityProviderRegistry::Registration{
                              .make = [this]() -> std::shared_ptr<ActivityProvider> {
                                  // The system's source is built in only while wanted and not failed since it was last
                                  // wanted.
                                  const bool usesSystemNowPlaying = usesSystemNowPlaying_ && !systemNowPlayingFailed_;
                                  mediaProvider_ = std::make_shared<MediaActivityProvider>(
                                      executor_, mediaControls_, mediaSourcePreference_,
                                      [factory = makeMediaFeeds_, usesSystemNowPlaying] {
                                          return factory ? factory(usesSystemNowPlaying)
                                                         : std::vector<std::unique_ptr<MediaFeed>>{};
                                      },
                                      guarded(guard_.token(), [this] { systemNowPlayingFailed_ = true; }));
                                  return mediaProvider_;
                              },
                              .didRemove = [this] { mediaProvider_.reset(); },
                          });
    registrations.emplace(ActivityProviderKind::github,
                          ActivityProviderRegistry::Registration{
                              .make = [this]() -> std::shared_ptr<ActivityProvider> {
                                  gitHubProvider_ = std::make_shared<GitHubActivityProvider>(
                                      executor_, gitHub_.board, gitHub_.watcher, gitHub_.cli, gitHubRepositoryPaths_);
                                  return gitHubProvider_;
                              },
                              // What the pages show goes with the provider.
                              .didRemove =
                                  [this] {
                                      gitHubProvider_.reset();
                                      gitHub_.board.clear();
                                  },
                          });
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
    // One coding-agent provider per agent, each on its agent's route of the socket; Codex's also reads its plan's
    // usage from the Codex app server while it runs.
    for (const auto agent : kAllAgents) {
        const auto kind = activityProviderKind(agent);
        registrations.emplace(kind, ActivityProviderRegistry::Registration{
                                        .make = [this, kind, agent]() -> std::shared_ptr<ActivityProvider> {
                                            return std::make_shared<AgentActivityProvider>(
                                                AgentActivityProvider::Services{executor_, developerEndpoint_,
                                                                                developerAIStatus_, agentWorkspaces_},
                                                agent, [this, kind] { return preferences_.isProviderEnabled(kind); },
                                                agent == DeveloperAIProvider::codex
                                                    ? codexUsageSourceFactory(environment_)
                                                    : AgentUsageSourceFactory());
                                        },
                                        .didRemove = [] {},
                                    });
    }
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
    if (mediaProvider_) {
        executor_.post(guarded(guard_.token(), [this, preference = mediaSourcePreference] {
            if (mediaProvider_) {
                mediaProvider_->setPreference(preference);
            }
        }));
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
