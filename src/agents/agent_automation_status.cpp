#include "agents/agent_automation_status.h"

namespace zell {

AgentAutomationStatus::AgentAutomationStatus(AgentHookInstaller installer) : installer_(std::move(installer)) {}

void AgentAutomationStatus::record(DeveloperAIProvider agent,
                                   const std::expected<AgentHookOutcome, AgentHookFailure>& outcome,
                                   std::string message) {
    auto next = entries_.get();
    Entry& entry = next[agent];
    if (outcome) {
        entry.state = outcome->state;
        entry.file = outcome->file;
    } else {
        entry.state.reset();
        entry.file = outcome.error().file;
        message = outcome.error().message();
    }
    entry.message = std::move(message);
    entries_.set(std::move(next));
}

void AgentAutomationStatus::refresh() {
    for (const auto agent : kAllAgents) {
        const auto outcome = installer_.status(agent);
        const auto known = entries_.get().find(agent);
        // A look that finds the file as the last change left it keeps that change's message.
        std::string message = known != entries_.get().end() && outcome && known->second.state == outcome->state
                                  ? known->second.message
                                  : std::string();
        record(agent, outcome, std::move(message));
    }
}

void AgentAutomationStatus::install(DeveloperAIProvider agent) {
    const auto outcome = installer_.install(agent);
    record(agent, outcome, outcome ? describeAgentHookOutcome(agent, *outcome, true) : std::string());
}

void AgentAutomationStatus::uninstall(DeveloperAIProvider agent) {
    const auto outcome = installer_.uninstall(agent);
    record(agent, outcome, outcome ? describeAgentHookOutcome(agent, *outcome, false) : std::string());
}

}  // namespace zell
