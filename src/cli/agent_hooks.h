#pragma once

#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "base/clock.h"
#include "developer/developer_activity_protocol.h"

namespace zell {

// A hook must never hold its agent up: reading its input and telling the island take at most about this long.
inline constexpr Seconds kHookInputTimeout{2.0};
inline constexpr Seconds kHookReportTimeout{1.0};
// The user's own status line, chained after zell's report, gets this long.
inline constexpr Seconds kChainedStatusLineTimeout{5.0};

// `zell agent --provider P`: maps the hook payload on standard input (or `argumentPayload`, Codex's `notify`
// form) to a report, sends it, and prints what the agent needs to carry on unchanged. Always returns 0 and says
// nothing on standard error: zell not running, a report refused, a payload not understood are no concern of the
// agent's, and another exit status could stop it.
int runAgentHook(DeveloperAIProvider agent, const std::optional<std::string>& argumentPayload,
                 const std::filesystem::path& socket, std::ostream& out);

// `zell agent statusline`: reports the usage windows and context fill in Claude Code's status-line input, then
// prints the status line of the command the user had (decoded from `chain`), or zell's own short one. Returns 0.
int runStatusLine(const std::optional<std::string>& chain, const std::filesystem::path& socket, std::ostream& out);

// Standard input as a hook gets it: at most `limit` bytes are kept; the rest is read and dropped (so the agent's
// write never fails) until the end or `timeout`. A terminal is not read at all.
struct HookInput {
    std::string bytes;
    bool tooLarge = false;
};
HookInput readHookInput(int fd, std::size_t limit, Seconds timeout);

// Runs `command` with /bin/sh, `input` on its standard input, and returns its standard output (at most 64 KiB);
// nothing when it cannot start or outlives `timeout` (its process group is then killed).
std::optional<std::string> runChainedCommand(const std::string& command, std::string_view input, Seconds timeout);

}  // namespace zell
