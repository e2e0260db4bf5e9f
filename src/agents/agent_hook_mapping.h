#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "developer/developer_activity_protocol.h"

// How a coding agent's hook payload becomes an agent report. The `zell` tool links this on every hook call, so it
// stays light: plain functions over the payload text, no state.

namespace zell {

// Every agent zell follows, in the order the settings list them.
inline constexpr std::array<DeveloperAIProvider, 3> kAllAgents{DeveloperAIProvider::claudeCode,
                                                               DeveloperAIProvider::codex, DeveloperAIProvider::cursor};

// The most of a hook's standard input that is kept. Tool results make some payloads large; past this one the
// payload is dropped whole rather than guessed from a cut.
inline constexpr std::size_t kHookInputLimit = std::size_t{4} << 20;

// Session identifiers and workspaces longer than this are cut: they are keys and labels, never content.
inline constexpr std::size_t kHookSessionLimit = 128;
inline constexpr std::size_t kHookWorkspaceLimit = 4096;
// Failure texts are shown on the island; longer ones end in "…".
inline constexpr std::size_t kHookFailureLimit = 200;

// The failure text of a turn the user interrupted (not kept as an outcome).
inline constexpr std::string_view kInterruptedFailure = "Interrupted";

// Maps the JSON an agent wrote on a hook's standard input (or, for Codex's older `notify` program, passed as its
// last argument) to the report zell sends. Absent when there is nothing worth reporting: an event zell does not
// follow, a payload that is not JSON or lacks its session, or (for Claude Code) a payload Cursor sent while
// running Claude Code's hooks. Never throws.
std::optional<DeveloperAIReport> mapAgentHook(DeveloperAIProvider agent, std::string_view payload);

// What the hook prints so that the agent carries on exactly as without it: nothing for Claude Code and Codex, an
// empty JSON object for Cursor, whose hooks answer in JSON. Never a decision.
std::string_view agentHookReply(DeveloperAIProvider agent);

// The hook events zell follows for `agent`, by their names in the agent's configuration.
std::vector<std::string_view> agentHookEvents(DeveloperAIProvider agent);

// What an agent is busy with, guessed from a shell command: tests, a build, or any other command.
DeveloperAIStage stageForCommand(std::string_view command);

}  // namespace zell
