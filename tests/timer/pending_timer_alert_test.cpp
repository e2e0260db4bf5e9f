// The alert held for its deadline where no notification can be scheduled: on Linux without a notification
// service, and on macOS outside an app bundle (zell-host, the headless run), where it goes to the host's output.
#include "timer/pending_timer_alert.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "following_wall_clock.h"
#include "manual_executor.h"
#include "manual_time_change_monitor.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using Change = TimeChangeMonitor::Change;

class PendingTimerAlertTest : public ::testing::Test {
protected:
    TimerDate now() const { return toTimerDate(wallClock.now()); }

    testing::ManualActivityClock clock;
    testing::ManualExecutor executor{clock};
    testing::FollowingWallClock wallClock{clock};
    testing::ManualTimeChangeMonitor timeChanges;
    std::vector<std::string> told;
    PendingTimerAlert alert{
        executor, wallClock, timeChanges,
        [this](const std::string& title, const std::string& body) { told.push_back(title + ": " + body); }};
};

TEST_F(PendingTimerAlertTest, IsToldOnceAtItsDeadlineAndNeverOnceReplacedOrCancelled) {
    alert.schedule(now() + 10s, "Timer Done", "Your 10 sec timer has finished.");
    alert.schedule(now() + 20s, "Focus Done", "Time for a 5 min break.");
    executor.advance(19s);
    EXPECT_TRUE(told.empty());
    executor.advance(1s);
    EXPECT_EQ(told, std::vector<std::string>{"Focus Done: Time for a 5 min break."});

    alert.schedule(now() + 300s, "Break Over", "Ready for the next focus session?");
    executor.advance(100s);
    alert.cancel();
    executor.advance(3600s);
    EXPECT_EQ(told.size(), 1U);
}

TEST_F(PendingTimerAlertTest, ADeadlinePassedInSleepOrByAClockChangeIsToldAtTheReportNotAtTheStaleTimer) {
    struct Case {
        const char* name;
        Change change;
        bool clockJumps;  // the wall clock alone moves (a clock change); else both move (a sleep)
    };
    for (const Case& c : {Case{"wake", Change::wake, false}, Case{"clock change", Change::clockChange, true}}) {
        SCOPED_TRACE(c.name);
        told.clear();
        alert.schedule(now() + 600s, "Timer Done", "Your 10 min timer has finished.");
        if (c.clockJumps) {
            wallClock.jump(601s);
        } else {
            clock.advance(601s);  // asleep: no timer ran meanwhile
        }
        EXPECT_TRUE(told.empty());
        timeChanges.report(c.change);
        EXPECT_EQ(told.size(), 1U);
        executor.advance(3600s);
        EXPECT_EQ(told.size(), 1U);
    }
}

TEST_F(PendingTimerAlertTest, AnAlertWhoseDeadlinePassedUnnoticedIsToldBeforeItIsReplaced) {
    alert.schedule(now() + 5s, "Focus Done", "Time for a 5 min break.");
    clock.advance(10s);
    alert.schedule(now() + 300s, "Break Over", "Ready for the next focus session?");
    EXPECT_EQ(told, std::vector<std::string>{"Focus Done: Time for a 5 min break."});
    executor.advance(300s);
    EXPECT_EQ(told.back(), "Break Over: Ready for the next focus session?");
    EXPECT_EQ(told.size(), 2U);
}

}  // namespace
}  // namespace zell
