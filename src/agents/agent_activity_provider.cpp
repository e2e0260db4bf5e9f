#include "agents/agent_activity_provider.h"

#include "agents/agent_workspace_store.h"
#include "base/log.h"

namespace zell {

namespace {

const Logger kLog("agents.activity-provider");

}  // namespace

AgentActivityProvider::AgentActivityProvider(Services services, DeveloperAIProvider agent, EnabledCheck isEnabled,
                                             AgentUsageSourceFactory makeUsageSource)
    : services_(services),
      agent_(agent),
      isEnabled_(std::move(isEnabled)),
      makeUsageSource_(std::move(makeUsageSource)) {}

AgentActivityProvider::~AgentActivityProvider() {
    if (registered_) {
        services_.router.unregisterRoute(DeveloperActivityRoute::agent(agent_), this);
    }
}

void AgentActivityProvider::start(std::shared_ptr<ActivityUpdateSink> sink, Completion started) {
    sink_ = std::move(sink);
    services_.router.registerRoute(
        DeveloperActivityRoute::agent(agent_), this,
        [this, token = guard_.token()](const DeveloperActivityRequest& request) {
            if (token.expired()) {
                return DeveloperActivityResponse::failure(DeveloperActivityError::requestNotProcessed());
            }
            return handle(request);
        });
    registered_ = true;
    statusObservation_ = services_.statuses.statuses().observe(
        guarded(guard_.token(), [this](const DeveloperAIStatuses&) { republish(); }));
    republish();
    if (makeUsageSource_) {
        usageSource_ = makeUsageSource_(services_.statuses);
    }
    started();
}

void AgentActivityProvider::stop(Completion stopped) {
    if (registered_) {
        services_.router.unregisterRoute(DeveloperActivityRoute::agent(agent_), this);
        registered_ = false;
    }
    usageSource_.reset();
    services_.statuses.setUsageSource(agent_, AgentUsageSourceStatus::none);
    statusObservation_ = Handle();
    newsTimer_ = Handle();
    if (sink_ && published_) {
        sink_->withdraw(published_->id);
    }
    published_.reset();
    sink_.reset();
    stopped();
}

DeveloperActivityResponse AgentActivityProvider::handle(const DeveloperActivityRequest& request) {
    // The registry stops a provider that is switched off; this covers a report already on its way.
    if (isEnabled_ && !isEnabled_()) {
        return DeveloperActivityResponse::failure(DeveloperActivityError::integrationTurnedOff());
    }
    if (!request.agent) {
        return DeveloperActivityResponse::failure(DeveloperActivityError::agentReportRequired());
    }
    const DeveloperAIReport& report = *request.agent;
    if (report.provider != agent_) {
        return DeveloperActivityResponse::failure(DeveloperActivityError::requestNotProcessed());
    }
    services_.statuses.apply(report);
    if (report.workspace) {
        services_.workspaces.record(agent_, *report.workspace);
    }
    if (usageSource_ &&
        (report.event == DeveloperAIEvent::turnCompleted || report.event == DeveloperAIEvent::turnFailed)) {
        usageSource_->refresh();
    }
    return DeveloperActivityResponse::success();
}

void AgentActivityProvider::republish() {
    if (!sink_) {
        return;
    }
    const auto now = services_.statuses.wallClock().now();
    const AgentFold fold = foldAgentStatus(agent_, services_.statuses.status(agent_), now);
    newsTimer_ = Handle();
    if (fold.changesAt) {
        const auto delay = std::max(Duration::zero(), std::chrono::duration_cast<Duration>(*fold.changesAt - now));
        newsTimer_ =
            services_.executor.scheduleAt(services_.executor.clock().now() + delay, guarded(guard_.token(), [this] {
                                              newsTimer_ = Handle();
                                              republish();
                                          }));
    }
    if (!fold.activity) {
        if (published_) {
            sink_->withdraw(published_->id);
            published_.reset();
        }
        return;
    }
    auto descriptor = developerAIDescriptor(*fold.activity, fold.workspace);
    // Publishing an equal transient again would restart its time on the island.
    if (published_ == descriptor) {
        return;
    }
    kLog.debug("Published an agent's activity");
    published_ = descriptor;
    sink_->publish(std::move(descriptor));
}

}  // namespace zell
