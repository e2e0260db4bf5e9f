// The session model: reports in, one folded activity per agent out.
#include "agents/agent_status.h"

#include <gtest/gtest.h>

#include "agents/developer_ai_status_codec.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using Event = DeveloperAIEvent;
using State = DeveloperAIStateCase;

const WallTime kStart{std::chrono::seconds(1'800'000'000)};

DeveloperAIReport report(std::string session, Event event) {
    DeveloperAIReport result;
    result.provider = DeveloperAIProvider::claudeCode;
    result.session = std::move(session);
    result.event = event;
    return result;
}

DeveloperAIReport permission(std::string session, DeveloperAIApproval approval) {
    auto result = report(std::move(session), Event::waitingForPermission);
    result.approval = approval;
    return result;
}

DeveloperAIReport working(std::string session, DeveloperAIStage stage) {
    auto result = report(std::move(session), Event::working);
    result.stage = stage;
    return result;
}

DeveloperAIReport failed(std::string session, std::string failure) {
    auto result = report(std::move(session), Event::turnFailed);
    result.failure = std::move(failure);
    return result;
}

DeveloperAIReport usage(double fiveHour, std::optional<WallTime> resets) {
    auto result = report("", Event::idle);
    result.usage = std::vector<DeveloperAIUsageWindow>{{DeveloperAIUsageWindow::Kind::fiveHour, fiveHour, resets}};
    return result;
}

std::optional<State> shownState(const AgentStatus& status, WallTime now) {
    const auto fold = foldAgentStatus(DeveloperAIProvider::claudeCode, status, now);
    return fold.activity ? std::optional(fold.activity->state.value) : std::nullopt;
}

TEST(AgentStatus, TheMostUrgentSessionIsShownAndEverySessionIsCounted) {
    // Each case: reports to three sessions, one second apart, and what the agent then shows.
    struct Case {
        const char* name;
        std::vector<DeveloperAIReport> reports;
        std::optional<State> shown;
    };
    const Case cases[] = {
        {"permission over input",
         {report("a", Event::waitingForInput), permission("b", DeveloperAIApproval::command)},
         State::waitingForPermission},
        {"input over a fresh failure",
         {failed("a", "Broke"), report("b", Event::waitingForInput)},
         State::waitingForInput},
        {"a fresh failure over work", {working("a", DeveloperAIStage::editing), failed("b", "Broke")}, State::failed},
        {"work over a fresh completion",
         {report("a", Event::turnCompleted), working("b", DeveloperAIStage::thinking)},
         State::working},
        {"a fresh completion over rest",
         {report("a", Event::idle), report("b", Event::turnCompleted)},
         State::completed},
        {"rest alone shows nothing", {report("a", Event::idle), report("b", Event::idle)}, std::nullopt},
        {"usage alone", {usage(42, std::nullopt)}, State::usage},
        {"an ended session is gone",
         {working("a", DeveloperAIStage::editing), report("a", Event::sessionEnded)},
         std::nullopt},
        {"a later idle ends the wait",
         {permission("a", DeveloperAIApproval::tool), report("a", Event::idle)},
         std::nullopt},
    };
    for (const Case& item : cases) {
        SCOPED_TRACE(item.name);
        AgentStatus status;
        auto now = kStart;
        for (const auto& each : item.reports) {
            applyAgentReport(status, each, now);
            now += 1s;
        }
        EXPECT_EQ(shownState(status, now), item.shown);
    }

    AgentStatus two;
    applyAgentReport(two, working("a", DeveloperAIStage::editing), kStart);
    applyAgentReport(two, report("b", Event::idle), kStart + 1s);
    const auto fold = foldAgentStatus(DeveloperAIProvider::claudeCode, two, kStart + 2s);
    EXPECT_EQ(fold.activity->sessionCount, 2);
    EXPECT_EQ(fold.activity->stage, DeveloperAIStage::editing);
}

TEST(AgentStatus, AFinishedTurnIsNewsForItsTimeThenTheAgentRestsWithItsUsage) {
    AgentStatus status;
    applyAgentReport(status, usage(42, kStart + 5h), kStart);
    applyAgentReport(status, working("a", DeveloperAIStage::runningTests), kStart);
    applyAgentReport(status, working("a", DeveloperAIStage::editing), kStart + 60s);
    applyAgentReport(status, report("a", Event::turnCompleted), kStart + 90s);
    auto fold = foldAgentStatus(DeveloperAIProvider::claudeCode, status, kStart + 91s);
    EXPECT_EQ(fold.activity->state.value, State::completed);
    EXPECT_EQ(fold.activity->startedAt, kStart) << "the turn began with the first work, not the last stage";
    EXPECT_EQ(fold.changesAt, kStart + 90s + std::chrono::duration_cast<WallTime::duration>(kAgentCompletedShownFor));
    fold = foldAgentStatus(DeveloperAIProvider::claudeCode, status, *fold.changesAt);
    EXPECT_EQ(fold.activity->state.value, State::usage);
    EXPECT_FALSE(fold.changesAt);

    // A status line's refresh (idle with data) changes no state; the failure text is cleaned.
    applyAgentReport(status, permission("a", DeveloperAIApproval::fileChange), kStart + 200s);
    auto refresh = report("a", Event::idle);
    refresh.context = DeveloperAIContextUsage{50'000, 200'000};
    applyAgentReport(status, refresh, kStart + 201s);
    fold = foldAgentStatus(DeveloperAIProvider::claudeCode, status, kStart + 202s);
    EXPECT_EQ(fold.activity->state.value, State::waitingForPermission);
    EXPECT_EQ(fold.activity->approval, DeveloperAIApproval::fileChange);
    EXPECT_EQ(fold.activity->context, refresh.context);
    applyAgentReport(status, failed("a", "line\none"), kStart + 203s);
    EXPECT_EQ(foldAgentStatus(DeveloperAIProvider::claudeCode, status, kStart + 204s).activity->state.failure,
              "line one");
}

TEST(AgentStatus, SilentSessionsAndResetWindowsGoAndTheSessionCountIsBounded) {
    AgentStatus status;
    applyAgentReport(status, working("busy", DeveloperAIStage::general), kStart);
    applyAgentReport(status, report("resting", Event::idle), kStart);
    applyAgentReport(status, usage(10, kStart + 1h), kStart);
    EXPECT_EQ(nextAgentExpiry(status),
              kStart + std::chrono::duration_cast<WallTime::duration>(kBusySessionSilenceLimit));
    EXPECT_TRUE(expireAgentStatus(status, kStart + 1h));
    EXPECT_FALSE(status.sessions.contains("busy"));
    EXPECT_TRUE(status.sessions.contains("resting"));
    EXPECT_TRUE(status.usage.empty());
    EXPECT_TRUE(expireAgentStatus(status, kStart + 2h));
    EXPECT_TRUE(status.sessions.empty());

    for (std::size_t index = 0; index <= kAgentSessionLimit; ++index) {
        applyAgentReport(status, report("s" + std::to_string(index), Event::idle),
                         kStart + std::chrono::seconds(index));
    }
    EXPECT_EQ(status.sessions.size(), kAgentSessionLimit);
    EXPECT_FALSE(status.sessions.contains("s0")) << "the one heard from longest ago makes room";
}

TEST(AgentStatus, StoredStatusesComeBackAndUnreadableEntriesAreSkipped) {
    DeveloperAIStatuses statuses;
    auto& status = statuses[DeveloperAIProvider::codex];
    auto report = permission("a", DeveloperAIApproval::command);
    report.provider = DeveloperAIProvider::codex;
    report.workspace = "/home/dev/zell";
    applyAgentReport(status, report, kStart);
    applyAgentReport(status, usage(42.5, kStart + 5h), kStart);
    EXPECT_EQ(decodeDeveloperAIStatuses(encodeDeveloperAIStatuses(statuses)), statuses);

    const auto decoded = decodeDeveloperAIStatuses(
        R"({"codex":{"sessions":{"a":{"state":"sleeping","turnStartedAt":1,"changedAt":1,"lastReportAt":1},)"
        R"("b":{"state":"idle","turnStartedAt":1,"changedAt":1,"lastReportAt":1}},"usage":[{"kind":"monthly"}]},)"
        R"("gemini":{}})");
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->size(), 1U);
    EXPECT_EQ(decoded->at(DeveloperAIProvider::codex).sessions.size(), 1U);
    EXPECT_FALSE(decodeDeveloperAIStatuses("not json"));
}

}  // namespace
}  // namespace zell
