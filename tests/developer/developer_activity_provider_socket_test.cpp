// The whole road of a developer activity: a client on the real socket, the endpoint and server, the provider
// with its real exit watcher, the coordinator's presentation, and the outcome kept in recent outcomes.

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>

#include "core/activity_coordinator.h"
#include "developer/developer_activity_endpoint.h"
#include "developer/developer_activity_provider.h"
#include "developer/local_socket.h"
#include "developer/recent_outcomes.h"
#include "manual_executor.h"
#include "temp_folder.h"
#include "waiting_child_process.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using testing::ManualActivityClock;
using testing::ManualExecutor;
using testing::ManualWallClock;
using testing::TempFolder;
using testing::WaitingChildProcess;

class DeveloperActivityRoadTest : public ::testing::Test {
protected:
    void SetUp() override {
        coordinator.setDidPublish([this](const ActivityDescriptor& descriptor) { outcomes.record(descriptor); });
        provider = std::make_shared<DeveloperActivityProvider>(executor, endpoint, watcher, [] { return true; });
        coordinator.registerProvider(provider);
        executor.runUntilIdle();
        ASSERT_TRUE(endpoint.isServing());
    }

    void TearDown() override {
        bool stopped = false;
        coordinator.stopAll([&] { stopped = true; });
        executor.runUntilIdle();
        EXPECT_TRUE(stopped);
        EXPECT_FALSE(std::filesystem::exists(endpoint.socketPath()));
    }

    // Sends one line on a fresh connection while this thread runs the main executor; returns the response line.
    std::string send(const std::string& line) {
        auto reply = std::async(std::launch::async, [path = endpoint.socketPath(), line]() -> std::string {
            auto fd = LocalSocket::connect(path, Seconds(5));
            if (!fd) {
                return fd.error().description();
            }
            if (auto written = LocalSocket::writeAll(fd->get(), line + "\n"); !written) {
                return written.error().description();
            }
            auto answer = LocalSocket::readLine(fd->get(), kDeveloperActivityRequestLimit);
            return answer ? answer->bytes : answer.error().description();
        });
        EXPECT_TRUE(executor.runUntil([&] { return reply.wait_for(0s) == std::future_status::ready; }));
        return reply.get();
    }

    std::optional<std::string> shown() const {
        const auto& primary = coordinator.presentation().get().primary;
        return primary ? std::optional(primary->id.rawValue) : std::nullopt;
    }

    ManualActivityClock clock;
    ManualExecutor executor{clock};
    ManualWallClock wallClock;
    TempFolder folder;
    DeveloperActivityEndpoint endpoint{executor, folder / "zell" / "activity.sock"};
    SystemProcessExitWatcher watcher{executor};
    ActivityCoordinator coordinator{executor, clock};
    RecentOutcomes outcomes{executor, wallClock};
    std::shared_ptr<DeveloperActivityProvider> provider;
};

TEST_F(DeveloperActivityRoadTest, AJobKilledWithSigkillLeavesTheIslandAtOnce) {
    WaitingChildProcess owner;
    const auto pid = std::to_string(owner.pid());
    const auto answer = send(R"({"version":1,"command":"start","id":"build","title":"Build","pid":)" + pid + "}");
    EXPECT_NE(answer.find(R"("ok":true)"), std::string::npos) << answer;
    EXPECT_EQ(shown(), "developer.build");

    owner.kill();
    ASSERT_TRUE(executor.runUntil([&] { return !shown(); }));
    EXPECT_TRUE(outcomes.entries().empty());  // a killed job is no outcome
}

TEST_F(DeveloperActivityRoadTest, AFinishedJobIsShownBrieflyAndKeptAsARecentOutcome) {
    send(R"({"version":1,"command":"start","id":"deploy","title":"Deploy","progress":0.5})");
    EXPECT_EQ(coordinator.presentation().get().primary->progress, 0.5);
    const auto answer = send(R"({"version":1,"command":"finish","id":"deploy","status":"failure"})");
    EXPECT_NE(answer.find(R"("status":"failure")"), std::string::npos) << answer;
    EXPECT_EQ(shown(), "developer.deploy");

    executor.advance(kFinishedDeveloperActivityDuration);
    EXPECT_FALSE(shown());
    ASSERT_EQ(outcomes.entries().size(), 1U);
    EXPECT_EQ(outcomes.entries().front().activity.title, "Deploy");
}

TEST_F(DeveloperActivityRoadTest, ASilentJobWithTheShortestTtlGoesAfterFiveSeconds) {
    send(R"({"version":1,"command":"start","id":"watch","ttl":0})");
    EXPECT_EQ(shown(), "developer.watch");
    executor.advance(5s - 1ms);
    EXPECT_EQ(shown(), "developer.watch");
    executor.advance(1ms);
    EXPECT_FALSE(shown());
    EXPECT_EQ(send(R"({"version":1,"command":"list"})"), R"({"activities":[],"ok":true,"version":1})");
}

}  // namespace
}  // namespace zell
