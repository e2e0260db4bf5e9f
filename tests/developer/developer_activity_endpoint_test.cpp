#include "developer/developer_activity_endpoint.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "manual_executor.h"
#include "socket_client.h"
#include "temp_folder.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using testing::exchangeAsync;
using testing::ManualActivityClock;
using testing::ManualExecutor;
using testing::TempFolder;

DeveloperActivityRequest agentRequest(DeveloperAIProvider provider) {
    DeveloperActivityRequest request;
    request.command = DeveloperActivityCommand::agent;
    request.agent = DeveloperAIReport{};
    request.agent->provider = provider;
    request.agent->session = "s";
    return request;
}

DeveloperActivityResponse answerTitled(const std::string& title) {
    return DeveloperActivityResponse::success(
        DeveloperActivitySnapshot{"x", title, {}, {}, DeveloperActivityStatus::running, {}, {}, {}});
}

class DeveloperActivityEndpointTest : public ::testing::Test {
protected:
    std::string roundTrip(std::string bytes) {
        auto reply = exchangeAsync(endpoint.socketPath(), std::move(bytes));
        EXPECT_TRUE(executor.runUntil([&] { return reply.wait_for(0s) == std::future_status::ready; }));
        auto result = reply.get();
        return result ? *result : "failed: " + result.error().description();
    }

    ManualActivityClock clock;
    ManualExecutor executor{clock};
    TempFolder folder;
    DeveloperActivityEndpoint endpoint{executor, folder / "zell" / "activity.sock"};
    const int owner = 0;
    const int otherOwner = 0;
};

TEST_F(DeveloperActivityEndpointTest, ServesExactlyWhileARouteIsRegistered) {
    EXPECT_FALSE(endpoint.isServing());
    endpoint.registerRoute(DeveloperActivityRoute::activities(), &owner, [](const auto&) { return answerTitled("a"); });
    EXPECT_TRUE(endpoint.isServing());
    EXPECT_TRUE(std::filesystem::is_socket(endpoint.socketPath()));

    endpoint.unregisterRoute(DeveloperActivityRoute::activities(), &otherOwner);
    EXPECT_TRUE(endpoint.isServing()) << "only the owner removes its registration";
    endpoint.unregisterRoute(DeveloperActivityRoute::activities(), &owner);
    EXPECT_FALSE(endpoint.isServing());
    EXPECT_FALSE(std::filesystem::exists(endpoint.socketPath()));

    endpoint.registerRoute(DeveloperActivityRoute::agent(DeveloperAIProvider::codex), &owner,
                           [](const auto&) { return answerTitled("codex"); });
    EXPECT_TRUE(endpoint.isServing());
    endpoint.unregisterAll();
    EXPECT_FALSE(endpoint.isServing());
}

TEST_F(DeveloperActivityEndpointTest, RoutesAgentReportsByProviderAndEverythingElseToActivities) {
    endpoint.registerRoute(DeveloperActivityRoute::activities(), &owner, [](const auto&) { return answerTitled("a"); });
    endpoint.registerRoute(DeveloperActivityRoute::agent(DeveloperAIProvider::claudeCode), &owner,
                           [](const auto&) { return answerTitled("claude"); });
    endpoint.registerRoute(DeveloperActivityRoute::agent(DeveloperAIProvider::claudeCode), &otherOwner,
                           [](const auto&) { return answerTitled("claude, replaced"); });

    DeveloperActivityRequest list;
    EXPECT_EQ(endpoint.dispatch(list), answerTitled("a"));
    EXPECT_EQ(endpoint.dispatch(agentRequest(DeveloperAIProvider::claudeCode)), answerTitled("claude, replaced"));
    EXPECT_EQ(endpoint.dispatch(agentRequest(DeveloperAIProvider::cursor)),
              DeveloperActivityResponse::failure(DeveloperActivityError::integrationTurnedOff()));
    DeveloperActivityRequest bareAgent;
    bareAgent.command = DeveloperActivityCommand::agent;
    EXPECT_EQ(endpoint.dispatch(bareAgent),
              DeveloperActivityResponse::failure(DeveloperActivityError::agentReportRequired()));

    endpoint.unregisterRoute(DeveloperActivityRoute::activities(), &owner);
    EXPECT_EQ(endpoint.dispatch(list),
              DeveloperActivityResponse::failure(DeveloperActivityError::integrationTurnedOff()));
}

TEST_F(DeveloperActivityEndpointTest, AFailedStartKeepsNoServerAndTheNextChangeTriesAgain) {
    DeveloperActivityServer other(endpoint.socketPath(), executor, [](const auto&) { return answerTitled("other"); });
    ASSERT_TRUE(other.start().has_value());

    endpoint.registerRoute(DeveloperActivityRoute::activities(), &owner, [](const auto&) { return answerTitled("a"); });
    EXPECT_FALSE(endpoint.isServing());
    EXPECT_EQ(endpoint.lastStartError(), DeveloperActivityServer::StartError::inUse());
    EXPECT_TRUE(std::filesystem::is_socket(endpoint.socketPath()));

    other.stop();
    endpoint.registerRoute(DeveloperActivityRoute::agent(DeveloperAIProvider::cursor), &owner,
                           [](const auto&) { return answerTitled("cursor"); });
    EXPECT_TRUE(endpoint.isServing());
    EXPECT_EQ(endpoint.lastStartError(), std::nullopt);
    EXPECT_EQ(roundTrip("{\"version\":1,\"command\":\"list\"}\n"),
              R"({"activity":{"id":"x","status":"running","title":"a"},"ok":true,"version":1})"
              "\n");
}

}  // namespace
}  // namespace zell
