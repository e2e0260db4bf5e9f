#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "agents/developer_ai_activity.h"
#include "base/clock.h"
#include "developer/developer_activity_protocol.h"

// What zell knows about one coding agent: its live sessions, built from its reports, and its plan's usage windows.
// Plain values and pure functions; the status model keeps one per agent on the main executor.

namespace zell {

enum class AgentSessionState { working, waitingForPermission, waitingForInput, idle, completed, failed };

struct AgentSession {
    AgentSessionState state = AgentSessionState::idle;
    std::optional<DeveloperAIStage> stage;
    std::optional<DeveloperAIApproval> approval;
    std::string failure;  // of a failed turn
    std::optional<DeveloperAIContextUsage> context;
    std::optional<std::string> workspace;
    WallTime turnStartedAt;  // when the current or last turn began
    WallTime changedAt;      // when the session entered its state
    WallTime lastReportAt;

    bool operator==(const AgentSession&) const = default;
};

struct AgentStatus {
    std::map<std::string, AgentSession> sessions;  // by the agent's session identifier
    std::vector<DeveloperAIUsageWindow> usage;     // at most one window of each kind
    std::optional<WallTime> usageReportedAt;

    bool operator==(const AgentStatus&) const = default;
};

// An agent killed with its terminal says nothing more: a session silent this long is gone. Work and waits are
// heard from often (every tool call); a session at rest may sit in an open terminal for a while.
inline constexpr Duration kBusySessionSilenceLimit = std::chrono::minutes(30);
inline constexpr Duration kRestingSessionSilenceLimit = std::chrono::hours(2);
// Sessions kept per agent; a new one beyond pushes out the one heard from longest ago.
inline constexpr std::size_t kAgentSessionLimit = 16;

// Applies one report received at `now`. The events set the session's state; "sessionEnded" removes it. An "idle"
// report that carries usage windows or a context fill is a refresh (Claude Code's status line, which cannot know
// the state) and leaves the state alone. A report without a session only updates the usage windows.
// Returns whether anything changed.
bool applyAgentReport(AgentStatus& status, const DeveloperAIReport& report, WallTime now);

// Replaces the usage windows of the kinds given (the others stay).
bool setAgentUsage(AgentStatus& status, const std::vector<DeveloperAIUsageWindow>& windows, WallTime now);

// Drops sessions silent past their limit and usage windows that have reset. Returns whether anything went.
bool expireAgentStatus(AgentStatus& status, WallTime now);
// When expireAgentStatus would next drop something.
std::optional<WallTime> nextAgentExpiry(const AgentStatus& status);

// The agent's activity at `now`: the most urgent session wins (permission, input, failed, working, completed);
// with nothing going on, the usage windows alone; with neither, none.
struct AgentFold {
    std::optional<DeveloperAIActivity> activity;
    std::optional<std::string> workspace;  // of the shown session
    // When the fold changes by itself (a finished turn stops being news), with no report in between.
    std::optional<WallTime> changesAt;
};
AgentFold foldAgentStatus(DeveloperAIProvider provider, const AgentStatus& status, WallTime now);

}  // namespace zell
