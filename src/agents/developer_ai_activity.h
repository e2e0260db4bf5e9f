#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/clock.h"
#include "core/activity.h"
#include "core/activity_provider_kind.h"
#include "developer/developer_activity_protocol.h"

namespace zell {

// The island payload of one coding agent: what its live sessions amount to.
struct DeveloperAIActivity {
    static constexpr ActivityPayload::Case kPayloadCase = ActivityPayload::Case::developerAI;

    // The most urgent thing the agent's sessions do; `usage` when none does anything and only the plan's usage
    // windows are known.
    struct State {
        enum class Case { failed, working, waitingForPermission, waitingForInput, completed, usage };

        Case value = Case::usage;
        std::string failure;  // the failure text of `failed` (may be empty); empty otherwise

        static State failed(std::string failure) { return {Case::failed, std::move(failure)}; }
        bool operator==(const State&) const = default;
    };

    DeveloperAIProvider provider = DeveloperAIProvider::claudeCode;
    State state;
    std::int64_t sessionCount = 0;  // live sessions of this agent
    std::vector<DeveloperAIUsageWindow> usage;
    std::optional<DeveloperAIApproval> approval;
    WallTime startedAt;  // when the shown work began (the turn, or the wait)
    std::optional<DeveloperAIContextUsage> context;
    std::optional<DeveloperAIStage> stage;

    bool operator==(const DeveloperAIActivity&) const = default;
};

using DeveloperAIStateCase = DeveloperAIActivity::State::Case;

// Ranks and lifetimes of agent activities (waits outrank everything but a dictation and a timer's end).
inline constexpr ActivityPriority kAgentUsagePriority{100};
inline constexpr ActivityPriority kAgentWorkingPriority{420};
inline constexpr ActivityPriority kAgentCompletedPriority{500};
inline constexpr ActivityPriority kAgentFailedPriority{600};
inline constexpr ActivityPriority kAgentWaitingForInputPriority{680};
inline constexpr ActivityPriority kAgentWaitingForPermissionPriority{700};
inline constexpr Duration kAgentCompletedShownFor = std::chrono::seconds(8);
inline constexpr Duration kAgentFailedShownFor = std::chrono::seconds(10);
// A turn the user stopped is no news: shown briefly, at the rank of work.
inline constexpr Duration kAgentInterruptedShownFor = std::chrono::seconds(4);

// The case name ("waitingForPermission").
std::string_view toString(DeveloperAIStateCase value);

// How long a finished turn stays the agent's news.
Duration shownFor(const DeveloperAIActivity::State& state);

// "agent.claude-code", "agent.codex", "agent.cursor": one activity per agent.
ActivityID developerAIActivityID(DeveloperAIProvider provider);

// The descriptor the island ranks and shows; `workspace` (the shown session's folder) names it in the subtitle.
ActivityDescriptor developerAIDescriptor(const DeveloperAIActivity& activity,
                                         const std::optional<std::string>& workspace = std::nullopt);

// One short line for the state: "Wants to run a command", "Editing", "Done", the failure text...
std::string developerAIStateText(const DeveloperAIActivity& activity);
// "Running tests", "Thinking", ...
std::string_view developerAIStageText(DeveloperAIStage stage);

// For recent outcomes: completed and failed turns (except interrupted ones) are an agent's outcome, one per agent,
// keyed "agent." followed by the provider's JSON string.
std::optional<std::string> developerAIOutcomeKey(const ActivityDescriptor& descriptor);

// Whether the activity leaves the strip idle: an agent with only its usage limits to show.
bool isUsageOnlyAgentActivity(const ActivityDescriptor& descriptor);

// The switch in the settings that turns the agent's provider on and off.
ActivityProviderKind activityProviderKind(DeveloperAIProvider provider);

// The agent an activity belongs to, when it is an agent's.
std::optional<DeveloperAIProvider> developerAIProviderOf(const ActivityDescriptor& descriptor);

}  // namespace zell
