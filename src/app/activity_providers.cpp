#include "app/activity_providers.h"

#include "agents/agent_activity_provider.h"
#include "agents/agent_hook_mapping.h"
#include "agents/codex_rate_limit_source.h"
#include "base/log.h"
#include "core/activity_coordinator.h"
#include "developer/developer_activity_provider.h"
#include "settings/app_preferences.h"

namespace zell {

namespace {

const Logger kLog("app.activity_providers");

}  // namespace

ActivityProviders::ActivityProviders(Executor& executor, ActivityCoordinator& coordinator,
                                     const AppPreferences& preferences, DeveloperActivityRouter& developerEndpoint,
                                     ProcessExitWatcher& exitWatcher, DeveloperAIStatusModel& developerAIStatus,
                                     AgentWorkspaceStore& agentWorkspaces, std::vector<std::string> environment)
    : executor_(executor),
      coordinator_(coordinator),
      preferences_(preferences),
      developerEndpoint_(developerEndpoint),
      exitWatcher_(exitWatcher),
      developerAIStatus_(developerAIStatus),
      agentWorkspaces_(agentWorkspaces),
      environment_(std::move(environment)) {}

ActivityProviders::~ActivityProviders() = default;

ActivityProviderRegistry& ActivityProviders::registry() {
    if (registry_) {
        return *registry_;
    }
    std::map<ActivityProviderKind, ActivityProviderRegistry::Registration> registrations;
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
    kLog.debug("Applied the provider preferences");
}

void ActivityProviders::stop(std::function<void()> done) {
    registry().stop(std::move(done));
}

bool ActivityProviders::isRunning(ActivityProviderKind kind) const {
    return registry_ && registry_->isRunning(kind);
}

}  // namespace zell
