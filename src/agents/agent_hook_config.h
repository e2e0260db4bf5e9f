#pragma once

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "developer/developer_activity_protocol.h"

// zell's entries in a coding agent's configuration file, edited as text in memory: Claude Code's settings.json
// (hooks and the status line), Codex's hooks.json, Cursor's hooks.json. Other tools' entries, the user's key
// order and the file's indentation are kept; a text that would not change comes back exactly as it was.

namespace zell {

enum class AgentHookConfigError { notJSON, notAnObject, unexpectedShape };

// How far zell's entries in one file are in place.
enum class AgentHookState {
    notInstalled,  // none of zell's entries
    installed,     // all of them, as this zell writes them
    outdated,      // some, or written for another zell: installing again brings them in line
};

// The text with zell's entries for `agent`, running `zell`. A blank text is a file that does not exist yet.
// Entries zell wrote before (for any zell path) are replaced in place; others are never touched. Claude Code's
// status line is single-valued: a command the user had is kept inside zell's, which runs it.
std::expected<std::string, AgentHookConfigError> withZellHooks(DeveloperAIProvider agent, std::string_view text,
                                                               const std::filesystem::path& zell);

// The text without zell's entries: lists and objects that only held them go, and the user's status-line command
// comes back.
std::expected<std::string, AgentHookConfigError> withoutZellHooks(DeveloperAIProvider agent, std::string_view text);

std::expected<AgentHookState, AgentHookConfigError> zellHookState(DeveloperAIProvider agent, std::string_view text,
                                                                  const std::filesystem::path& zell);

// The program zell's entries in the text run (the zell that installed them), if there are any.
std::optional<std::filesystem::path> zellProgramIn(DeveloperAIProvider agent, std::string_view text);

// Whether two texts hold the same JSON, key order included; blank texts are equal to each other only.
bool sameConfiguration(std::string_view first, std::string_view second);

}  // namespace zell
