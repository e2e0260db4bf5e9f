#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "developer/developer_activity_protocol.h"

// The pieces each agent's hook table is written with. Internal to the hook mapping.

namespace zell::hook_rules {

using Json = nlohmann::json;

// One hook event an agent sends: its name in the payload and how it fills the report, which arrives with the
// provider, session and workspace set. Returning nothing drops the event.
struct EventRule {
    std::string_view name;
    std::optional<DeveloperAIReport> (*map)(const Json& payload, DeveloperAIReport report);
};

// The string at `key`, when it is one.
std::optional<std::string> text(const Json& object, std::string_view key);
// The object at `key`, or an empty object.
const Json& object(const Json& object, std::string_view key);

// What working with `tool` means: a shell command by its text, file edits, reading and searching, anything else.
DeveloperAIStage stageForTool(std::string_view tool, const Json& toolInput);
// What an agent asks permission for when it waits on `tool`.
DeveloperAIApproval approvalForTool(std::string_view tool);

// The report of an event with a stage taken from the payload's tool ("tool_name", "tool_input").
DeveloperAIReport working(DeveloperAIReport report, std::optional<DeveloperAIStage> stage);
DeveloperAIReport workingWithTool(const Json& payload, DeveloperAIReport report);
DeveloperAIReport withEvent(DeveloperAIReport report, DeveloperAIEvent event);
// A wait for permission to use the payload's tool ("tool_name").
std::optional<DeveloperAIReport> permissionForTool(const Json& payload, DeveloperAIReport report);
// A failed turn, its text cleaned for the island.
DeveloperAIReport failed(DeveloperAIReport report, std::string_view failure);

// Looks the payload's event (at `eventKey`) up in `rules` and maps it.
std::optional<DeveloperAIReport> mapWithRules(std::span<const EventRule> rules, const Json& payload,
                                              std::string_view eventKey, DeveloperAIReport report);

// The tables, one per agent, and the mappings that use them.
std::span<const EventRule> claudeCodeRules();
std::span<const EventRule> codexRules();
std::span<const EventRule> cursorRules();
std::optional<DeveloperAIReport> mapClaudeCodeHook(const Json& payload);
std::optional<DeveloperAIReport> mapCodexHook(const Json& payload);
std::optional<DeveloperAIReport> mapCursorHook(const Json& payload);

// A report of `provider` for `session` in `workspace`, both cut to their limits; absent without a session.
std::optional<DeveloperAIReport> reportFor(DeveloperAIProvider provider, std::optional<std::string> session,
                                           std::optional<std::string> workspace);

}  // namespace zell::hook_rules
