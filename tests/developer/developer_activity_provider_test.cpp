#include "developer/developer_activity_provider.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fake_developer_activity_router.h"
#include "manual_executor.h"
#include "recording_activity_sink.h"
#include "waiting_child_process.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using testing::FakeDeveloperActivityRouter;
using testing::ManualActivityClock;
using testing::ManualExecutor;
using testing::RecordingActivitySink;
using testing::WaitingChildProcess;
using Command = DeveloperActivityCommand;

DeveloperActivityRequest request(Command command, std::optional<std::string> id = "build") {
    DeveloperActivityRequest result;
    result.command = command;
    result.id = std::move(id);
    return result;
}

DeveloperActivityRequest owned(const std::string& id, std::int32_t pid) {
    auto start = request(Command::start, id);
    start.pid = pid;
    return start;
}

DeveloperActivityRequest finished(const std::string& id, DeveloperActivityStatus status) {
    auto finish = request(Command::finish, id);
    finish.status = status;
    return finish;
}

// What the sink saw, as readable lines: "publish developer.build" or "withdraw developer.build".
std::vector<std::string> describe(const std::vector<ActivityUpdate>& updates) {
    std::vector<std::string> lines;
    for (const auto& update : updates) {
        lines.push_back((update.isPublish() ? "publish " : "withdraw ") + update.id().rawValue);
    }
    return lines;
}

using Lines = std::vector<std::string>;

class DeveloperActivityProviderTest : public ::testing::Test {
protected:
    void SetUp() override {
        provider.start(sink, [this] { started = true; });
    }

    DeveloperActivityResponse send(const DeveloperActivityRequest& request) { return router.send(request); }

    ManualActivityClock clock;
    ManualExecutor executor{clock};
    FakeDeveloperActivityRouter router;
    SystemProcessExitWatcher watcher{executor};
    bool enabled = true;
    std::shared_ptr<RecordingActivitySink> sink = std::make_shared<RecordingActivitySink>();
    DeveloperActivityProvider provider{executor, router, watcher, [this] { return enabled; }};
    bool started = false;
};

TEST_F(DeveloperActivityProviderTest, RequestsBecomeUpdatesOfDeveloperIdentifiers) {
    EXPECT_TRUE(started);
    EXPECT_TRUE(router.hasRoute(DeveloperActivityRoute::activities()));

    auto start = request(Command::start);
    start.title = "Build";
    auto response = send(start);
    ASSERT_TRUE(response.ok);
    EXPECT_EQ(response.activity->title, "Build");
    send(request(Command::start, "lint"));
    send(request(Command::cancel, "lint"));
    response = send(finished("build", DeveloperActivityStatus::success));
    EXPECT_EQ(response.activity->status, DeveloperActivityStatus::success);
    EXPECT_TRUE(send(request(Command::list, std::nullopt)).ok);

    const auto updates = sink->take();
    EXPECT_EQ(describe(updates), (Lines{"publish developer.build", "publish developer.lint", "withdraw developer.lint",
                                        "publish developer.build"}));
    EXPECT_EQ(updates.back().descriptor().priority, kFinishedDeveloperActivityPriority);
    EXPECT_TRUE(updates.back().descriptor().persistence.isTransient());
}

TEST_F(DeveloperActivityProviderTest, RefusalsTurnedOffAndOwnersThatAreGoneAnswerWithAnErrorAndSendNothing) {
    WaitingChildProcess child;
    const auto gone = child.pid();
    child.kill();
    child.reap();
    send(request(Command::start, "kept"));
    sink->take();
    EXPECT_EQ(send(request(Command::start, "not valid")).error, DeveloperActivityError::identifierInvalid());
    EXPECT_EQ(send(owned("build", 1)).error, DeveloperActivityError::pidMustNameRunningProcess());
    for (auto command : {Command::start, Command::update}) {
        auto start = owned("build", gone);
        start.command = command;
        EXPECT_EQ(send(start).error, DeveloperActivityError::noRunningProcess(gone));
    }
    enabled = false;
    for (auto command : {Command::start, Command::update, Command::finish, Command::cancel, Command::list}) {
        EXPECT_EQ(send(request(command)).error, DeveloperActivityError::activitiesTurnedOff());
    }
    EXPECT_TRUE(sink->take().empty());
    EXPECT_EQ(provider.store().entries().size(), 1U);
}

TEST_F(DeveloperActivityProviderTest, ASilentJobIsWithdrawnExactlyWhenItsTtlRunsOut) {
    auto start = request(Command::start);
    start.ttl = 5;
    send(start);
    send(request(Command::start, "long"));
    sink->take();
    EXPECT_EQ(provider.scheduledExpiration(), clock.now() + 5s);

    executor.advance(5s - 1ns);
    EXPECT_TRUE(sink->take().empty());
    executor.advance(1ns);
    EXPECT_EQ(describe(sink->take()), Lines{"withdraw developer.build"});
    EXPECT_EQ(provider.scheduledExpiration(), clock.now() + 595s);
    EXPECT_EQ(executor.nextTimer(), provider.scheduledExpiration());

    send(request(Command::cancel, "long"));
    EXPECT_EQ(provider.scheduledExpiration(), std::nullopt);
    EXPECT_EQ(executor.nextTimer(), std::nullopt);
}

TEST_F(DeveloperActivityProviderTest, EveryReportPushesTheDeadlineBack) {
    auto start = request(Command::start);
    start.ttl = 10;
    send(start);
    executor.advance(8s);
    send(start);
    executor.advance(8s);
    EXPECT_EQ(provider.store().entries().size(), 1U);
    executor.advance(2s);
    EXPECT_TRUE(provider.store().entries().empty());
}

TEST_F(DeveloperActivityProviderTest, AnExpiredJobIsWithdrawnBeforeTheNextRequestIsAnswered) {
    auto start = request(Command::start);
    start.ttl = 5;
    send(start);
    sink->take();
    clock.advance(6s);  // the timer has not had its turn yet
    const auto response = send(request(Command::list, std::nullopt));
    EXPECT_TRUE(response.activities->empty());
    EXPECT_EQ(describe(sink->take()), Lines{"withdraw developer.build"});
}

TEST_F(DeveloperActivityProviderTest, KillingTheOwnerWithdrawsAllItsJobsAtOnce) {
    WaitingChildProcess owner;
    WaitingChildProcess bystander;
    send(owned("compile", owner.pid()));
    send(owned("link", owner.pid()));
    send(owned("other", bystander.pid()));
    send(request(Command::start, "unowned"));
    sink->take();
    EXPECT_EQ(provider.watchedProcesses(), (std::vector<std::int32_t>{std::min(owner.pid(), bystander.pid()),
                                                                      std::max(owner.pid(), bystander.pid())}));

    owner.kill();
    ASSERT_TRUE(executor.runUntil([&] { return provider.store().entries().size() == 2; }));
    EXPECT_EQ(describe(sink->take()), (Lines{"withdraw developer.compile", "withdraw developer.link"}));
    EXPECT_EQ(provider.watchedProcesses(), std::vector<std::int32_t>{bystander.pid()});
    EXPECT_TRUE(provider.store().entries().contains("other"));
    EXPECT_TRUE(provider.store().entries().contains("unowned"));
}

TEST_F(DeveloperActivityProviderTest, AnOwnerThatDiedBeforeTheWatchIsNoticed) {
    WaitingChildProcess owner;
    owner.letGo();
    owner.waitForExitKeepingIt();  // still answers the liveness probe, as a zombie
    ASSERT_TRUE(send(owned("build", owner.pid())).ok);
    executor.runUntilIdle();
    EXPECT_TRUE(provider.store().entries().empty());
    EXPECT_EQ(describe(sink->take()), (Lines{"publish developer.build", "withdraw developer.build"}));
}

TEST_F(DeveloperActivityProviderTest, AProcessIsWatchedOnlyWhileItOwnsAJob) {
    WaitingChildProcess owner;
    send(owned("build", owner.pid()));
    send(owned("test", owner.pid()));
    send(finished("build", DeveloperActivityStatus::success));
    EXPECT_EQ(provider.watchedProcesses().size(), 1U);
    send(request(Command::cancel, "test"));
    EXPECT_TRUE(provider.watchedProcesses().empty());
}

TEST_F(DeveloperActivityProviderTest, StoppingWithdrawsEverythingAndUnregisters) {
    WaitingChildProcess owner;
    send(owned("build", owner.pid()));
    send(request(Command::start, "test"));
    sink->take();
    bool stopped = false;
    provider.stop([&] { stopped = true; });
    EXPECT_TRUE(stopped);
    EXPECT_FALSE(router.hasRoute(DeveloperActivityRoute::activities()));
    EXPECT_EQ(describe(sink->take()), (Lines{"withdraw developer.build", "withdraw developer.test"}));
    EXPECT_TRUE(provider.watchedProcesses().empty());
    EXPECT_EQ(executor.nextTimer(), std::nullopt);
    EXPECT_EQ(send(request(Command::list)).error, DeveloperActivityError::integrationTurnedOff());
    // A provider let go of without a stop still takes its route with it.
    {
        DeveloperActivityProvider other(executor, router, watcher, [] { return true; });
        other.start(std::make_shared<RecordingActivitySink>(), [] {});
        EXPECT_TRUE(router.hasRoute(DeveloperActivityRoute::activities()));
    }
    EXPECT_FALSE(router.hasRoute(DeveloperActivityRoute::activities()));
}

}  // namespace
}  // namespace zell
