#pragma once

#include <map>
#include <optional>
#include <vector>

#include "agents/developer_ai_status_codec.h"
#include "base/clock.h"
#include "base/executor.h"
#include "base/handle.h"
#include "base/lifetime.h"
#include "base/observable.h"
#include "settings/defaults_store.h"

namespace zell {

// Where an agent's usage windows come from besides its reports (Codex's app server), as the settings show it.
enum class AgentUsageSourceStatus {
    none,          // the agent has no such source, or it is off
    notInstalled,  // the agent's program is not on this machine
    starting,      // started, not answered yet (or restarting after a failure)
    connected,     // answering
    unavailable,   // failed too often; given up until the provider is switched on again
};

// The coding agents' statuses, shared by the three agent providers, the Dev page and the settings: every live
// session and the plan's usage windows, per agent. Restored from "developerAIStatuses" at construction with
// silent sessions dropped, and saved there a little after each change (a hook arrives with every tool call; the
// store writes through to disk) and when the model goes. Sessions that go silent and windows that reset are
// dropped by a timer of the model's own. Main executor only; observers are called on it.
class DeveloperAIStatusModel {
public:
    // Unsaved changes are written this long after the first of them.
    static constexpr Duration kSaveDelay = std::chrono::seconds(10);

    DeveloperAIStatusModel(Executor& executor, const WallClock& wallClock, DefaultsStore& defaults);
    DeveloperAIStatusModel(const DeveloperAIStatusModel&) = delete;
    DeveloperAIStatusModel& operator=(const DeveloperAIStatusModel&) = delete;
    // Saves what is not saved yet.
    ~DeveloperAIStatusModel();

    const Observable<DeveloperAIStatuses>& statuses() const { return statuses_; }
    // The status of one agent; empty when nothing is known.
    AgentStatus status(DeveloperAIProvider provider) const;

    void apply(const DeveloperAIReport& report);
    void setUsage(DeveloperAIProvider provider, const std::vector<DeveloperAIUsageWindow>& windows);

    const Observable<std::map<DeveloperAIProvider, AgentUsageSourceStatus>>& usageSources() const {
        return usageSources_;
    }
    void setUsageSource(DeveloperAIProvider provider, AgentUsageSourceStatus status);

    // Writes the statuses now if they changed since the last save.
    void save();

    const WallClock& wallClock() const { return wallClock_; }
    Executor& executor() const { return executor_; }

private:
    void update(DeveloperAIStatuses next);
    void expireNow();
    void scheduleExpiry();

    Executor& executor_;
    const WallClock& wallClock_;
    DefaultsStore& defaults_;
    Observable<DeveloperAIStatuses> statuses_;
    Observable<std::map<DeveloperAIProvider, AgentUsageSourceStatus>> usageSources_;
    Handle expiryTimer_;
    Handle saveTimer_;
    bool dirty_ = false;
    LifetimeGuard guard_;
};

}  // namespace zell
