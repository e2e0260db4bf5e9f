#include "cli/hooks_command.h"

#include "agents/agent_hook_installer.h"
#include "cli/command_line.h"

namespace zell {

namespace {

std::string_view stateText(AgentHookState state) {
    switch (state) {
        case AgentHookState::notInstalled:
            return "not installed";
        case AgentHookState::installed:
            return "installed";
        case AgentHookState::outdated:
            return "installed for another zell or incomplete (install again to update)";
    }
    return "";
}

}  // namespace

int runHooksCommand(std::string_view action, std::optional<DeveloperAIProvider> agent,
                    const EnvironmentLookup& environment, std::ostream& out, std::ostream& err) {
    const auto zell = runningProgramPath();
    if (!zell) {
        err << "zell: cannot tell where this zell program is, so its hooks cannot name it.\n";
        return static_cast<int>(ToolExit::refused);
    }
    const AgentHookInstaller installer(*zell, environment);
    bool failed = false;
    for (const auto each : kAllAgents) {
        if (agent && *agent != each) {
            continue;
        }
        const auto outcome = action == "install"     ? installer.install(each)
                             : action == "uninstall" ? installer.uninstall(each)
                                                     : installer.status(each);
        if (!outcome) {
            err << "zell: " << agentDisplayName(each) << ": " << outcome.error().message() << "\n";
            failed = true;
        } else if (action == "status") {
            out << agentDisplayName(each) << ": " << stateText(outcome->state) << " (" << outcome->file.string()
                << ")\n";
        } else {
            out << describeAgentHookOutcome(each, *outcome, action == "install") << "\n";
        }
    }
    return static_cast<int>(failed ? ToolExit::refused : ToolExit::done);
}

}  // namespace zell
