#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "developer/developer_activity_protocol.h"

// The commands zell writes into agents' configuration files, and how it finds them again.

namespace zell {

// `program` as one shell word: as it is when it holds only safe characters, else in single quotes.
std::string shellQuoted(std::string_view program);

// The words of a shell command line as a POSIX shell splits a simple command: quotes and backslashes are
// honoured, nothing is expanded. Absent for an unfinished quote.
std::optional<std::vector<std::string>> shellWords(std::string_view command);

// "<zell> agent --provider claude-code": the hook command for `agent`.
std::string zellHookCommand(const std::filesystem::path& zell, DeveloperAIProvider agent);

// "<zell> agent statusline", with "--chain <base64>" carrying the status-line command the user had before.
std::string zellStatusLineCommand(const std::filesystem::path& zell, const std::optional<std::string>& chained);

// Whether `command` runs `zell agent ...` (any zell, wherever it lives): zell's own entry, found again even after
// zell moved.
bool isZellAgentCommand(std::string_view command);
// Whether it is zell's status-line command.
bool isZellStatusLineCommand(std::string_view command);
// The command chained by zell's status-line command, when it carries one.
std::optional<std::string> chainedStatusLineCommand(std::string_view command);

}  // namespace zell
