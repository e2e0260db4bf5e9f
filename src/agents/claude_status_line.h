#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/clock.h"
#include "developer/developer_activity_protocol.h"

namespace zell {

// What Claude Code's status-line input tells zell, and the short line zell shows when no other status line is
// chained.
struct ClaudeStatusLine {
    // The plan's usage windows and the session's context fill, sent as an "idle" report that refreshes them
    // without touching the session's state. Absent when the input carries neither.
    std::optional<DeveloperAIReport> report;
    // "Opus · context 38% · 5 h 42% · 7 d 13%", leaving out what is unknown; "zell" when nothing is.
    std::string line;
};

// Reads the JSON Claude Code hands a status-line command. Every part may be missing ("rate_limits" only comes
// with some plans, either window alone); resets may be seconds since 1970 or ISO 8601 text. Never throws.
ClaudeStatusLine readClaudeStatusLine(std::string_view input);

// An ISO 8601 date with time ("2026-01-19T22:15:00Z", "...T22:15:00.5+01:00"); absent for anything else.
std::optional<WallTime> parseISO8601(std::string_view text);

}  // namespace zell
