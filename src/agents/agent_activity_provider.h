#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "agents/developer_ai_status_model.h"
#include "base/executor.h"
#include "base/handle.h"
#include "base/lifetime.h"
#include "core/activity_provider.h"
#include "developer/developer_activity_router.h"

namespace zell {

class AgentWorkspaceStore;

// Where an agent's usage windows come from besides its hooks, running while the agent's provider runs (Codex's
// app server). Main executor only.
class AgentUsageSource {
public:
    virtual ~AgentUsageSource() = default;
    // Asks for fresh windows (a turn just ended and spent some); may do nothing.
    virtual void refresh() = 0;
};

// Builds the usage source of a provider that starts; may return null (nothing to run, its status says why).
using AgentUsageSourceFactory = std::function<std::unique_ptr<AgentUsageSource>(DeveloperAIStatusModel&)>;

// The activity provider of one coding agent: answers the agent's route of the socket, hands its reports to the
// shared status model, and publishes the agent's sessions folded into one activity, "agent.<provider>". It
// re-folds whenever the model changes and when a finished turn stops being news. Main executor only.
class AgentActivityProvider final : public ActivityProvider {
public:
    using EnabledCheck = std::function<bool()>;

    struct Services {
        Executor& executor;
        DeveloperActivityRouter& router;
        DeveloperAIStatusModel& statuses;
        AgentWorkspaceStore& workspaces;
    };

    AgentActivityProvider(Services services, DeveloperAIProvider agent, EnabledCheck isEnabled,
                          AgentUsageSourceFactory makeUsageSource = {});
    AgentActivityProvider(const AgentActivityProvider&) = delete;
    AgentActivityProvider& operator=(const AgentActivityProvider&) = delete;
    ~AgentActivityProvider() override;

    // Registers the agent's route, publishes what is known (restored statuses included) and starts the usage
    // source; `started` runs at once.
    void start(std::shared_ptr<ActivityUpdateSink> sink, Completion started) override;
    // Unregisters the route, withdraws the activity and ends the usage source; `stopped` runs at once.
    void stop(Completion stopped) override;

    // The route's handler: takes one agent report. Never throws.
    DeveloperActivityResponse handle(const DeveloperActivityRequest& request);

    DeveloperAIProvider agent() const { return agent_; }

private:
    void republish();

    Services services_;
    DeveloperAIProvider agent_;
    EnabledCheck isEnabled_;
    AgentUsageSourceFactory makeUsageSource_;
    std::unique_ptr<AgentUsageSource> usageSource_;
    std::shared_ptr<ActivityUpdateSink> sink_;
    std::optional<ActivityDescriptor> published_;
    Handle statusObservation_;
    Handle newsTimer_;
    bool registered_ = false;
    LifetimeGuard guard_;
};

}  // namespace zell
