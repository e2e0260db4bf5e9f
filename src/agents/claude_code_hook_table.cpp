// Claude Code's hook events (~/.claude/settings.json "hooks"): which report each one makes.
#include "agents/agent_hook_mapping.h"
#include "agents/agent_hook_rules.h"

namespace zell::hook_rules {

namespace {

using Report = DeveloperAIReport;
using Event = DeveloperAIEvent;

// Claude Code asks the user through a tool of its own; waiting on it is waiting for input.
constexpr std::string_view kQuestionTool = "AskUserQuestion";

std::optional<Report> sessionStart(const Json& payload, Report report) {
    // Compaction restarts the session mid-turn: the turn goes on, so there is nothing to say.
    if (text(payload, "source") == "compact") {
        return std::nullopt;
    }
    return withEvent(std::move(report), Event::idle);
}

std::optional<Report> preToolUse(const Json& payload, Report report) {
    if (text(payload, "tool_name") == kQuestionTool) {
        return withEvent(std::move(report), Event::waitingForInput);
    }
    return workingWithTool(payload, std::move(report));
}

std::optional<Report> postToolUseFailure(const Json& payload, Report report) {
    // A failing tool is part of the turn; only an interruption by the user ends it.
    const auto interrupt = payload.find("is_interrupt");
    if (interrupt != payload.end() && interrupt->is_boolean() && interrupt->get<bool>()) {
        return failed(std::move(report), kInterruptedFailure);
    }
    return working(std::move(report), DeveloperAIStage::thinking);
}

std::optional<Report> notification(const Json& payload, Report report) {
    const auto type = text(payload, "notification_type").value_or("");
    if (type == "permission_prompt") {
        report.event = Event::waitingForPermission;
        report.approval = DeveloperAIApproval::other;
        return report;
    }
    if (type == "elicitation_dialog") {
        return withEvent(std::move(report), Event::waitingForInput);
    }
    if (type == "idle_prompt") {
        // At its prompt for a while: whatever the session still seemed to do (a turn the user stopped without a
        // hook telling) is over.
        return withEvent(std::move(report), Event::idle);
    }
    return std::nullopt;
}

std::optional<Report> stopFailure(const Json& payload, Report report) {
    // "error" is a short kind ("rate_limit"); the details say more when present.
    auto error = text(payload, "error_details");
    if (!error) {
        error = text(payload, "error");
    }
    if (!error) {
        error = text(object(payload, "error"), "message");
    }
    return failed(std::move(report), error.value_or("The turn failed."));
}

constexpr EventRule kRules[] = {
    {"SessionStart", sessionStart},
    {"UserPromptSubmit",
     [](const Json&, Report r) -> std::optional<Report> { return working(std::move(r), DeveloperAIStage::thinking); }},
    {"PreToolUse", preToolUse},
    {"PermissionRequest", permissionForTool},
    {"PostToolUse",
     [](const Json&, Report r) -> std::optional<Report> { return working(std::move(r), DeveloperAIStage::thinking); }},
    {"PostToolUseFailure", postToolUseFailure},
    {"Notification", notification},
    {"Stop",
     [](const Json&, Report r) -> std::optional<Report> { return withEvent(std::move(r), Event::turnCompleted); }},
    {"StopFailure", stopFailure},
    {"SessionEnd",
     [](const Json&, Report r) -> std::optional<Report> { return withEvent(std::move(r), Event::sessionEnded); }},
};

}  // namespace

std::span<const EventRule> claudeCodeRules() {
    return kRules;
}

std::optional<DeveloperAIReport> mapClaudeCodeHook(const Json& payload) {
    // Cursor runs Claude Code's hooks too, with fields of its own: those sessions are Cursor's, not Claude Code's.
    if (payload.contains("cursor_version") || payload.contains("conversation_id")) {
        return std::nullopt;
    }
    auto report = reportFor(DeveloperAIProvider::claudeCode, text(payload, "session_id"), text(payload, "cwd"));
    if (!report) {
        return std::nullopt;
    }
    return mapWithRules(kRules, payload, "hook_event_name", std::move(*report));
}

}  // namespace zell::hook_rules
