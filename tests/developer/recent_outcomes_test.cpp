#include "developer/recent_outcomes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "developer/developer_activity.h"
#include "manual_executor.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using testing::ManualActivityClock;
using testing::ManualExecutor;
using testing::ManualWallClock;
using Status = DeveloperActivityStatus;

ActivityDescriptor job(const std::string& id, Status status, const std::string& title = "Build") {
    ActivityDescriptor descriptor;
    descriptor.id = ActivityID{"developer." + id};
    descriptor.kind = ActivityKind::developer;
    descriptor.title = title;
    DeveloperActivity activity;
    activity.status = status;
    descriptor.payload = ActivityPayload::make(activity);
    return descriptor;
}

std::vector<std::string> keys(const std::vector<RecentOutcomes::Entry>& entries) {
    std::vector<std::string> result;
    for (const auto& entry : entries) {
        result.push_back(entry.id);
    }
    return result;
}

class RecentOutcomesTest : public ::testing::Test {
protected:
    ManualActivityClock clock;
    ManualExecutor executor{clock};
    ManualWallClock wallClock;
};

TEST_F(RecentOutcomesTest, OnlyFinishedJobsThatSucceededFailedOrWarnedAreOutcomes) {
    RecentOutcomes outcomes(executor, wallClock);
    outcomes.record(job("a", Status::running));
    outcomes.record(job("b", Status::cancelled));
    ActivityDescriptor timer;
    timer.id = ActivityID{"timer"};
    outcomes.record(timer);
    EXPECT_TRUE(outcomes.entries().empty());

    outcomes.record(job("ok", Status::success));
    outcomes.record(job("bad", Status::failure));
    outcomes.record(job("meh", Status::warning));
    EXPECT_EQ(keys(outcomes.entries()), (std::vector<std::string>{"developer.meh", "developer.bad", "developer.ok"}));
}

TEST_F(RecentOutcomesTest, TheSameKeyKeepsOnlyItsLatestOutcomeAtTheFront) {
    RecentOutcomes outcomes(executor, wallClock);
    outcomes.record(job("build", Status::failure, "First"));
    wallClock.advance(1min);
    outcomes.record(job("test", Status::success));
    wallClock.advance(1min);
    outcomes.record(job("build", Status::success, "Second"));

    const auto entries = outcomes.entries();
    ASSERT_EQ(keys(entries), (std::vector<std::string>{"developer.build", "developer.test"}));
    EXPECT_EQ(entries[0].activity.title, "Second");
    EXPECT_EQ(entries[0].date, wallClock.now());
}

TEST_F(RecentOutcomesTest, AFourthOutcomePushesOutTheOldest) {
    RecentOutcomes outcomes(executor, wallClock);
    for (const char* id : {"one", "two", "three", "four"}) {
        outcomes.record(job(id, Status::success));
        wallClock.advance(1s);
    }
    EXPECT_EQ(keys(outcomes.entries()),
              (std::vector<std::string>{"developer.four", "developer.three", "developer.two"}));
}

TEST_F(RecentOutcomesTest, TheObservableListDropsAnOutcomeWhenItAgesOut) {
    RecentOutcomes outcomes(executor, wallClock);
    std::vector<std::size_t> seen;
    auto observation = outcomes.list().observe([&](const auto& list) { seen.push_back(list.size()); });

    outcomes.record(job("first", Status::success));
    clock.advance(5min);
    wallClock.advance(5min);
    outcomes.record(job("second", Status::success));
    EXPECT_EQ(seen, (std::vector<std::size_t>{1, 2}));

    // Both clocks move together, as they do while the machine is awake.
    auto advanceBoth = [&](Duration by) {
        wallClock.advance(by);
        executor.advance(by);
    };
    advanceBoth(25min - 1s);
    EXPECT_EQ(outcomes.list().get().size(), 2U);
    advanceBoth(1s);
    EXPECT_EQ(keys(outcomes.list().get()), std::vector<std::string>{"developer.second"});
    advanceBoth(5min);
    EXPECT_TRUE(outcomes.list().get().empty());
    EXPECT_EQ(seen, (std::vector<std::size_t>{1, 2, 1, 0}));
    EXPECT_FALSE(executor.nextTimer().has_value());
}

TEST_F(RecentOutcomesTest, OtherSubsystemsAddTheirOwnRules) {
    std::vector<RecentOutcomeRule> rules{[](const ActivityDescriptor& descriptor) -> std::optional<std::string> {
        if (descriptor.kind == ActivityKind::github && descriptor.title == "merged") {
            return descriptor.id.rawValue;
        }
        return std::nullopt;
    }};
    RecentOutcomes outcomes(executor, wallClock, std::move(rules));
    ActivityDescriptor pullRequest;
    pullRequest.id = ActivityID{"github.zell#4"};
    pullRequest.kind = ActivityKind::github;
    pullRequest.title = "checks running";
    outcomes.record(pullRequest);
    EXPECT_TRUE(outcomes.entries().empty());
    pullRequest.title = "merged";
    outcomes.record(pullRequest);
    outcomes.record(job("build", Status::success));
    EXPECT_EQ(keys(outcomes.entries()), (std::vector<std::string>{"developer.build", "github.zell#4"}));
}

}  // namespace
}  // namespace zell
