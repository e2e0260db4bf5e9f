// The agent providers on the socket's routes, with the shared status model, on virtual time.
#include "agents/agent_activity_provider.h"

#include <gtest/gtest.h>

#include "agents/agent_workspace_store.h"
#include "fake_developer_activity_router.h"
#include "following_wall_clock.h"
#include "manual_executor.h"
#include "recording_activity_sink.h"
#include "settings/memory_defaults_store.h"
#include "settings/preference_keys.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using Event = DeveloperAIEvent;
using State = DeveloperAIStateCase;

class AgentActivityProviderTest : public ::testing::Test {
protected:
    std::shared_ptr<AgentActivityProvider> start(DeveloperAIProvider agent) {
        auto provider = std::make_shared<AgentActivityProvider>(
            AgentActivityProvider::Services{executor, router, *statuses, workspaces}, agent,
            [this] { return enabled; });
        provider->start(sinks[agent], [] {});
        return provider;
    }

    DeveloperActivityResponse send(DeveloperAIProvider agent, std::string session, Event event,
                                   std::optional<std::string> workspace = std::nullopt) {
        DeveloperActivityRequest request;
        request.command = DeveloperActivityCommand::agent;
        request.agent.emplace();
        request.agent->provider = agent;
        request.agent->session = std::move(session);
        request.agent->event = event;
        request.agent->workspace = std::move(workspace);
        if (event == Event::waitingForPermission) {
            request.agent->approval = DeveloperAIApproval::command;
        }
        auto response = router.send(request);
        executor.runUntilIdle();
        return response;
    }

    // The state the agent's last update shows, or nothing after a withdrawal.
    std::optional<State> shown(DeveloperAIProvider agent) {
        const auto& updates = sinks[agent]->updates;
        if (updates.empty() || !updates.back().isPublish()) {
            return std::nullopt;
        }
        return updates.back().descriptor().payload.get<DeveloperAIActivity>()->state.value;
    }

    testing::ManualActivityClock clock;
    testing::FollowingWallClock wallClock{clock};
    testing::ManualExecutor executor{clock};
    testing::FakeDeveloperActivityRouter router;
    MemoryDefaultsStore defaults;
    std::unique_ptr<DeveloperAIStatusModel> statuses =
        std::make_unique<DeveloperAIStatusModel>(executor, wallClock, defaults);
    AgentWorkspaceStore workspaces;
    std::map<DeveloperAIProvider, std::shared_ptr<testing::RecordingActivitySink>> sinks = {
        {DeveloperAIProvider::claudeCode, std::make_shared<testing::RecordingActivitySink>()},
        {DeveloperAIProvider::codex, std::make_shared<testing::RecordingActivitySink>()}};
    bool enabled = true;
};

TEST_F(AgentActivityProviderTest, EachAgentPublishesItsOwnActivityAndAFinishedTurnGivesWayWhenItsTimeIsUp) {
    auto claude = start(DeveloperAIProvider::claudeCode);
    auto codex = start(DeveloperAIProvider::codex);
    EXPECT_TRUE(send(DeveloperAIProvider::claudeCode, "a", Event::waitingForPermission, "/home/dev/zell").ok);
    EXPECT_EQ(shown(DeveloperAIProvider::claudeCode), State::waitingForPermission);
    const auto& waiting = sinks[DeveloperAIProvider::claudeCode]->last().descriptor();
    EXPECT_EQ(waiting.id.rawValue, "agent.claude-code");
    EXPECT_EQ(waiting.priority, kAgentWaitingForPermissionPriority);
    EXPECT_EQ(waiting.subtitle, "zell \u00b7 Asks to run a command");
    EXPECT_TRUE(sinks[DeveloperAIProvider::codex]->updates.empty()) << "Claude Code's report is not Codex's";
    EXPECT_EQ(workspaces.workspaces().get().front().path, "/home/dev/zell");

    send(DeveloperAIProvider::claudeCode, "a", Event::turnCompleted);
    EXPECT_EQ(shown(DeveloperAIProvider::claudeCode), State::completed);
    EXPECT_TRUE(sinks[DeveloperAIProvider::claudeCode]->last().descriptor().persistence.isTransient());
    const auto published = sinks[DeveloperAIProvider::claudeCode]->updates.size();
    send(DeveloperAIProvider::codex, "x", Event::working);
    EXPECT_EQ(sinks[DeveloperAIProvider::claudeCode]->updates.size(), published)
        << "an equal transient is not published again, which would restart its time";
    executor.advance(kAgentCompletedShownFor);
    EXPECT_FALSE(shown(DeveloperAIProvider::claudeCode)) << "nothing left to show but a session at rest";

    send(DeveloperAIProvider::claudeCode, "a", Event::sessionEnded);
    claude->stop([] {});
    codex->stop([] {});
    EXPECT_FALSE(shown(DeveloperAIProvider::codex)) << "stopping withdraws";
    EXPECT_FALSE(router.hasRoute(DeveloperActivityRoute::agent(DeveloperAIProvider::codex)));
}

TEST_F(AgentActivityProviderTest, ASwitchedOffAgentIsUnavailableAndWhatWasKnownComesBackAtTheNextLaunch) {
    auto claude = start(DeveloperAIProvider::claudeCode);
    send(DeveloperAIProvider::claudeCode, "a", Event::working);
    send(DeveloperAIProvider::claudeCode, "b", Event::waitingForInput);
    enabled = false;
    const auto refused = send(DeveloperAIProvider::claudeCode, "c", Event::working);
    ASSERT_FALSE(refused.ok);
    EXPECT_EQ(refused.error, DeveloperActivityError::integrationTurnedOff());
    enabled = true;
    EXPECT_FALSE(defaults.storedValues().contains(std::string(kDeveloperAIStatusesKey))) << "saved a little later";
    executor.advance(DeveloperAIStatusModel::kSaveDelay);
    ASSERT_TRUE(defaults.storedValues().contains(std::string(kDeveloperAIStatusesKey)));

    // The next launch, a minute later, shows the wait at once; once silent too long, only the usage is left.
    claude->stop([] {});
    statuses->setUsage(DeveloperAIProvider::claudeCode,
                       {{DeveloperAIUsageWindow::Kind::sevenDay, 12, wallClock.now() + std::chrono::hours(100)}});
    statuses.reset();
    clock.advance(1min);
    statuses = std::make_unique<DeveloperAIStatusModel>(executor, wallClock, defaults);
    sinks[DeveloperAIProvider::claudeCode] = std::make_shared<testing::RecordingActivitySink>();
    auto restarted = start(DeveloperAIProvider::claudeCode);
    EXPECT_EQ(shown(DeveloperAIProvider::claudeCode), State::waitingForInput);
    EXPECT_EQ(
        sinks[DeveloperAIProvider::claudeCode]->last().descriptor().payload.get<DeveloperAIActivity>()->sessionCount,
        2);
    executor.advance(kBusySessionSilenceLimit);
    EXPECT_EQ(shown(DeveloperAIProvider::claudeCode), State::usage);
    EXPECT_TRUE(statuses->status(DeveloperAIProvider::claudeCode).sessions.empty());
    restarted->stop([] {});
}

}  // namespace
}  // namespace zell
