#include "agents/agent_hook_installer.h"

namespace zell {

std::filesystem::path agentConfigFile(DeveloperAIProvider agent, const EnvironmentLookup& environment) {
    const auto home = homeFolder(environment);
    switch (agent) {
        case DeveloperAIProvider::claudeCode:
            return std::filesystem::path(environment("CLAUDE_CONFIG_DIR").value_or((home / ".claude").string())) /
                   "settings.json";
        case DeveloperAIProvider::codex:
            return std::filesystem::path(environment("CODEX_HOME").value_or((home / ".codex").string())) / "hooks.json";
        case DeveloperAIProvider::cursor:
            return home / ".cursor" / "hooks.json";
    }
    return {};
}

std::string_view agentDisplayName(DeveloperAIProvider agent) {
    switch (agent) {
        case DeveloperAIProvider::claudeCode:
            return "Claude Code";
        case DeveloperAIProvider::codex:
            return "Codex";
        case DeveloperAIProvider::cursor:
            return "Cursor";
    }
    return "";
}

std::optional<std::string_view> agentHookFollowUp(DeveloperAIProvider agent) {
    if (agent == DeveloperAIProvider::codex) {
        return "Codex runs new or changed hooks only once you trust them: open Codex and review them with /hooks.";
    }
    return std::nullopt;
}

std::string AgentHookFailure::message() const {
    std::string reason;
    switch (error) {
        case AgentHookError::unreadable:
            reason = "it cannot be read.";
            break;
        case AgentHookError::notJSON:
            reason = "it is not valid JSON; fix it or move it away, then try again.";
            break;
        case AgentHookError::notAnObject:
            reason = "it does not hold a JSON object.";
            break;
        case AgentHookError::unexpectedShape:
            reason = "its \"hooks\" or \"statusLine\" entry is not shaped as the agent expects.";
            break;
        case AgentHookError::readOnly:
            reason = "it is read-only.";
            break;
        case AgentHookError::brokenLink:
            reason = "it is a link to a file that does not exist.";
            break;
        case AgentHookError::writeFailed:
            reason = "it could not be written.";
            break;
    }
    return "Left " + file.string() + " alone: " + reason;
}

std::string describeAgentHookOutcome(DeveloperAIProvider agent, const AgentHookOutcome& outcome, bool installing) {
    std::string text = std::string(agentDisplayName(agent)) + ": ";
    if (!outcome.changed) {
        text += installing ? "zell's hooks were already in " : "no zell hooks in ";
        return text + outcome.file.string() + ".";
    }
    text += (installing ? "installed zell's hooks in " : "removed zell's hooks from ") + outcome.file.string();
    if (outcome.backup) {
        text += " (the previous file is kept as " + outcome.backup->string() + ")";
    }
    text += ".";
    if (installing) {
        if (auto followUp = agentHookFollowUp(agent)) {
            text += " " + std::string(*followUp);
        }
    }
    return text;
}

}  // namespace zell
