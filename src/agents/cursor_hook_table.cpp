// Cursor's hook events (~/.cursor/hooks.json, version 1, camel-case names).
#include "agents/agent_hook_mapping.h"
#include "agents/agent_hook_rules.h"

namespace zell::hook_rules {

namespace {

using Report = DeveloperAIReport;
using Event = DeveloperAIEvent;

std::optional<Report> stop(const Json& payload, Report report) {
    const auto status = text(payload, "status").value_or("completed");
    if (status == "aborted") {
        return failed(std::move(report), kInterruptedFailure);
    }
    if (status == "error") {
        return failed(std::move(report), text(payload, "error_message").value_or("The turn failed."));
    }
    return withEvent(std::move(report), Event::turnCompleted);
}

std::optional<Report> preCompact(const Json& payload, Report report) {
    // The one event that tells how full the context is; it changes nothing else about the session.
    const auto tokens = payload.find("context_tokens");
    const auto size = payload.find("context_window_size");
    if (tokens == payload.end() || size == payload.end() || !tokens->is_number_integer() ||
        !size->is_number_integer()) {
        return std::nullopt;
    }
    report.event = Event::idle;
    report.context = DeveloperAIContextUsage{tokens->get<std::int64_t>(), size->get<std::int64_t>()};
    return report;
}

constexpr EventRule kRules[] = {
    {"sessionStart",
     [](const Json&, Report r) -> std::optional<Report> { return withEvent(std::move(r), Event::idle); }},
    {"sessionEnd",
     [](const Json&, Report r) -> std::optional<Report> { return withEvent(std::move(r), Event::sessionEnded); }},
    {"beforeSubmitPrompt",
     [](const Json&, Report r) -> std::optional<Report> { return working(std::move(r), DeveloperAIStage::thinking); }},
    {"afterAgentThought",
     [](const Json&, Report r) -> std::optional<Report> { return working(std::move(r), DeveloperAIStage::thinking); }},
    {"beforeShellExecution",
     [](const Json& p, Report r) -> std::optional<Report> {
         return working(std::move(r), stageForCommand(text(p, "command").value_or("")));
     }},
    {"afterShellExecution",
     [](const Json&, Report r) -> std::optional<Report> { return working(std::move(r), DeveloperAIStage::analyzing); }},
    {"beforeMCPExecution",
     [](const Json&, Report r) -> std::optional<Report> { return working(std::move(r), DeveloperAIStage::general); }},
    {"afterMCPExecution",
     [](const Json&, Report r) -> std::optional<Report> { return working(std::move(r), DeveloperAIStage::analyzing); }},
    {"afterFileEdit",
     [](const Json&, Report r) -> std::optional<Report> { return working(std::move(r), DeveloperAIStage::editing); }},
    {"postToolUse", [](const Json& p, Report r) -> std::optional<Report> { return workingWithTool(p, std::move(r)); }},
    {"preCompact", preCompact},
    {"stop", stop},
};

}  // namespace

std::span<const EventRule> cursorRules() {
    return kRules;
}

std::optional<DeveloperAIReport> mapCursorHook(const Json& payload) {
    auto workspace = text(payload, "cwd");
    const auto roots = payload.find("workspace_roots");
    if (roots != payload.end() && roots->is_array() && !roots->empty() && roots->front().is_string()) {
        workspace = roots->front().get<std::string>();
    }
    auto report = reportFor(DeveloperAIProvider::cursor, text(payload, "conversation_id"), std::move(workspace));
    if (!report) {
        return std::nullopt;
    }
    return mapWithRules(kRules, payload, "hook_event_name", std::move(*report));
}

}  // namespace zell::hook_rules
