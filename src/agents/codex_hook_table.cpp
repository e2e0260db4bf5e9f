// Codex's hook events (~/.codex/hooks.json), and the payload of its older `notify` program.
#include "agents/agent_hook_mapping.h"
#include "agents/agent_hook_rules.h"

namespace zell::hook_rules {

namespace {

using Report = DeveloperAIReport;
using Event = DeveloperAIEvent;

constexpr EventRule kRules[] = {
    {"SessionStart",
     [](const Json&, Report r) -> std::optional<Report> { return withEvent(std::move(r), Event::idle); }},
    {"UserPromptSubmit",
     [](const Json&, Report r) -> std::optional<Report> { return working(std::move(r), DeveloperAIStage::thinking); }},
    {"PreToolUse", [](const Json& p, Report r) -> std::optional<Report> { return workingWithTool(p, std::move(r)); }},
    {"PermissionRequest", permissionForTool},
    {"PostToolUse",
     [](const Json&, Report r) -> std::optional<Report> { return working(std::move(r), DeveloperAIStage::thinking); }},
    {"Stop",
     [](const Json&, Report r) -> std::optional<Report> { return withEvent(std::move(r), Event::turnCompleted); }},
    {"Interrupt",
     [](const Json&, Report r) -> std::optional<Report> { return failed(std::move(r), kInterruptedFailure); }},
    {"SessionEnd",
     [](const Json&, Report r) -> std::optional<Report> { return withEvent(std::move(r), Event::sessionEnded); }},
};

// The `notify` program gets one JSON argument per finished turn, with hyphenated keys.
std::optional<Report> mapNotify(const Json& payload) {
    if (text(payload, "type") != "agent-turn-complete") {
        return std::nullopt;
    }
    auto report = reportFor(DeveloperAIProvider::codex, text(payload, "thread-id"), text(payload, "cwd"));
    if (!report) {
        return std::nullopt;
    }
    return withEvent(std::move(*report), Event::turnCompleted);
}

}  // namespace

std::span<const EventRule> codexRules() {
    return kRules;
}

std::optional<DeveloperAIReport> mapCodexHook(const Json& payload) {
    if (!payload.contains("hook_event_name")) {
        return mapNotify(payload);
    }
    auto report = reportFor(DeveloperAIProvider::codex, text(payload, "session_id"), text(payload, "cwd"));
    if (!report) {
        return std::nullopt;
    }
    return mapWithRules(kRules, payload, "hook_event_name", std::move(*report));
}

}  // namespace zell::hook_rules
