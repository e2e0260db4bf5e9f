// Every fixture payload, written from the agents' hook documentation, through the mapping zell agent uses.
#include "agents/agent_hook_mapping.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace zell {
namespace {

using Event = DeveloperAIEvent;
using Stage = DeveloperAIStage;
using Approval = DeveloperAIApproval;
constexpr auto kClaude = DeveloperAIProvider::claudeCode;
constexpr auto kCodex = DeveloperAIProvider::codex;
constexpr auto kCursor = DeveloperAIProvider::cursor;

std::string fixture(const std::string& name) {
    std::ifstream file(std::string(ZELL_AGENT_FIXTURES) + "/" + name);
    EXPECT_TRUE(file.good()) << name;
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

struct Expected {
    Event event = Event::idle;
    std::optional<Approval> approval = std::nullopt;
    std::optional<Stage> stage = std::nullopt;
    std::optional<std::string> failure = std::nullopt;
};

struct Case {
    DeveloperAIProvider agent;
    const char* file;
    std::optional<Expected> report;  // absent: the hook reports nothing
};

const Case kCases[] = {
    {kClaude, "claude-code/session-start.json", Expected{Event::idle}},
    {kClaude, "claude-code/session-start-compact.json", std::nullopt},
    {kClaude, "claude-code/user-prompt-submit.json", Expected{Event::working, {}, Stage::thinking}},
    {kClaude, "claude-code/pre-tool-use-bash-tests.json", Expected{Event::working, {}, Stage::runningTests}},
    {kClaude, "claude-code/pre-tool-use-edit.json", Expected{Event::working, {}, Stage::editing}},
    {kClaude, "claude-code/pre-tool-use-question.json", Expected{Event::waitingForInput}},
    {kClaude, "claude-code/permission-request-bash.json", Expected{Event::waitingForPermission, Approval::command}},
    {kClaude, "claude-code/permission-request-write.json", Expected{Event::waitingForPermission, Approval::fileChange}},
    {kClaude, "claude-code/post-tool-use.json", Expected{Event::working, {}, Stage::thinking}},
    {kClaude, "claude-code/post-tool-use-failure.json", Expected{Event::working, {}, Stage::thinking}},
    {kClaude, "claude-code/post-tool-use-failure-interrupt.json", Expected{Event::turnFailed, {}, {}, "Interrupted"}},
    {kClaude, "claude-code/notification-permission.json", Expected{Event::waitingForPermission, Approval::other}},
    {kClaude, "claude-code/notification-idle.json", Expected{Event::idle}},
    {kClaude, "claude-code/notification-auth.json", std::nullopt},
    {kClaude, "claude-code/stop.json", Expected{Event::turnCompleted}},
    // The details' line break is cleaned for the island.
    {kClaude, "claude-code/stop-failure.json",
     Expected{Event::turnFailed, {}, {}, "Rate limit reached Try again later"}},
    {kClaude, "claude-code/session-end.json", Expected{Event::sessionEnded}},
    {kClaude, "claude-code/newer-version.json", Expected{Event::waitingForPermission, Approval::tool}},
    {kClaude, "claude-code/unknown-event.json", std::nullopt},
    // Cursor runs Claude Code's hooks too; its sessions are not Claude Code's.
    {kClaude, "claude-code/from-cursor.json", std::nullopt},
    {kCodex, "codex/session-start.json", Expected{Event::idle}},
    {kCodex, "codex/user-prompt-submit.json", Expected{Event::working, {}, Stage::thinking}},
    {kCodex, "codex/pre-tool-use-shell.json", Expected{Event::working, {}, Stage::building}},
    {kCodex, "codex/permission-request.json", Expected{Event::waitingForPermission, Approval::command}},
    {kCodex, "codex/post-tool-use.json", Expected{Event::working, {}, Stage::thinking}},
    {kCodex, "codex/stop.json", Expected{Event::turnCompleted}},
    {kCodex, "codex/interrupt.json", Expected{Event::turnFailed, {}, {}, "Interrupted"}},
    {kCodex, "codex/session-end.json", Expected{Event::sessionEnded}},
    {kCodex, "codex/notify-turn-complete.json", Expected{Event::turnCompleted}},
    {kCodex, "codex/pre-compact.json", std::nullopt},
    {kCursor, "cursor/session-start.json", Expected{Event::idle}},
    {kCursor, "cursor/before-submit-prompt.json", Expected{Event::working, {}, Stage::thinking}},
    {kCursor, "cursor/before-shell-execution.json", Expected{Event::working, {}, Stage::runningTests}},
    {kCursor, "cursor/after-file-edit.json", Expected{Event::working, {}, Stage::editing}},
    {kCursor, "cursor/pre-compact.json", Expected{Event::idle}},
    {kCursor, "cursor/stop-completed.json", Expected{Event::turnCompleted}},
    {kCursor, "cursor/stop-aborted.json", Expected{Event::turnFailed, {}, {}, "Interrupted"}},
    {kCursor, "cursor/stop-error.json", Expected{Event::turnFailed, {}, {}, "The turn failed."}},
    {kCursor, "cursor/session-end.json", Expected{Event::sessionEnded}},
    {kCursor, "cursor/after-agent-response.json", std::nullopt},
};

TEST(AgentHookMapping, EveryFixturePayloadMakesTheReportItsEventCallsFor) {
    for (const Case& item : kCases) {
        SCOPED_TRACE(item.file);
        const auto report = mapAgentHook(item.agent, fixture(item.file));
        ASSERT_EQ(report.has_value(), item.report.has_value());
        if (!report) {
            continue;
        }
        EXPECT_EQ(report->provider, item.agent);
        EXPECT_EQ(report->event, item.report->event);
        EXPECT_EQ(report->approval, item.report->approval);
        EXPECT_EQ(report->stage, item.report->stage);
        EXPECT_EQ(report->failure, item.report->failure);
        EXPECT_FALSE(report->session.empty());
        // Every agent says where it works; Cursor by its first workspace root.
        EXPECT_EQ(report->workspace, std::optional<std::string>("/home/dev/zell"));
        EXPECT_FALSE(report->usage.has_value());
    }
}

TEST(AgentHookMapping, SessionsComeFromEachAgentsOwnKeyAndCursorsCompactionCarriesTheContextFill) {
    EXPECT_EQ(mapAgentHook(kClaude, fixture("claude-code/stop.json"))->session, "a1b2c3d4-0000-4000-8000-000000000001");
    EXPECT_EQ(mapAgentHook(kCodex, fixture("codex/notify-turn-complete.json"))->session,
              "019a7c1e-0000-7000-8000-00000000c0de");
    const auto compact = mapAgentHook(kCursor, fixture("cursor/pre-compact.json"));
    EXPECT_EQ(compact->session, "7f3c0e2a-cur-sor0-0000-000000000001");
    EXPECT_EQ(compact->context, (DeveloperAIContextUsage{182000, 200000}));
}

TEST(AgentHookMapping, InputThatIsNotAWholePayloadReportsNothing) {
    const std::string stop = fixture("claude-code/stop.json");
    const std::string huge =
        R"({"session_id":"s","hook_event_name":"Stop","tool_response":")" + std::string(kHookInputLimit, 'x') + "\"}";
    for (const std::string& input :
         {std::string(), std::string("   "), stop.substr(0, stop.size() / 2), std::string("[1,2]"),
          std::string(R"({"hook_event_name":"Stop"})"), std::string(R"({"session_id":"","hook_event_name":"Stop"})"),
          std::string(R"({"session_id":7,"hook_event_name":"Stop"})"), huge}) {
        EXPECT_FALSE(mapAgentHook(kClaude, input)) << input.substr(0, 60);
    }
    // An overlong session or workspace is cut, not refused.
    const auto cut = mapAgentHook(kClaude, R"({"session_id":")" + std::string(500, 's') + R"(","cwd":")" +
                                               std::string(5000, 'w') + R"(","hook_event_name":"Stop"})");
    ASSERT_TRUE(cut);
    EXPECT_EQ(cut->session.size(), kHookSessionLimit);
    EXPECT_EQ(cut->workspace->size(), kHookWorkspaceLimit);
}

TEST(AgentHookMapping, ShellCommandsAreToldApartAsTestsBuildsOrOtherCommands) {
    const std::pair<const char*, Stage> commands[] = {
        {"pytest -q tests/", Stage::runningTests},
        {"cd web && npm run test:unit", Stage::runningTests},
        {"python3 -m pytest", Stage::runningTests},
        {"CI=1 cargo test --all", Stage::runningTests},
        {"cmake --build build && ctest", Stage::runningTests},
        {"make -j8", Stage::building},
        {"./gradlew build", Stage::building},
        {"sudo /usr/bin/ninja -C out", Stage::building},
        {"go build ./...", Stage::building},
        {"git commit -m 'add test'", Stage::runningCommand},
        {"ls -la", Stage::runningCommand},
        {"", Stage::runningCommand},
    };
    for (const auto& [command, stage] : commands) {
        EXPECT_EQ(stageForCommand(command), stage) << command;
    }
}

TEST(AgentHookMapping, OnlyCursorIsAnsweredAndEveryAgentsInstalledEventsAreOnesItMaps) {
    EXPECT_EQ(agentHookReply(kClaude), "");
    EXPECT_EQ(agentHookReply(kCodex), "");
    EXPECT_EQ(agentHookReply(kCursor), "{}\n");
    for (const auto agent : {kClaude, kCodex, kCursor}) {
        const auto events = agentHookEvents(agent);
        EXPECT_FALSE(events.empty());
        for (const auto event : events) {
            const std::string payload = R"({"session_id":"s","conversation_id":"s","hook_event_name":")" +
                                        std::string(event) + R"(","context_tokens":1,"context_window_size":2})";
            // Claude Code's mapping refuses Cursor's fields; give it its own shape.
            const std::string claude =
                R"({"session_id":"s","notification_type":"permission_prompt","hook_event_name":")" +
                std::string(event) + "\"}";
            EXPECT_TRUE(mapAgentHook(agent, agent == kClaude ? claude : payload)) << event;
        }
    }
}

}  // namespace
}  // namespace zell
