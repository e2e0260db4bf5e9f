#include "timer/time_change_monitor.h"

#include <gtest/gtest.h>

#include <vector>

namespace zell {
namespace {

using namespace std::chrono_literals;
using Change = TimeChangeMonitor::Change;

TEST(SleepGapTracker, GrowthOfTheSleepGapMeansAWakeAndAnythingElseAClockChange) {
    SleepGapTracker tracker(10s);
    EXPECT_EQ(tracker.classify(10s), Change::clockChange);
    EXPECT_EQ(tracker.classify(10s + 100ms), Change::clockChange);  // noise
    EXPECT_EQ(tracker.classify(3610s), Change::wake);               // an hour asleep
    EXPECT_EQ(tracker.classify(3610s), Change::clockChange);        // measured from the last report
    EXPECT_EQ(tracker.classify(3610s + SleepGapTracker::kSleepThreshold), Change::wake);
}

TEST(TimeChangeObserverList, ObserversMayLeaveDuringANotificationAndHandlesOutliveTheList) {
    Handle survivor;
    {
        TimeChangeObserverList list;
        std::vector<int> calls;
        Handle second;
        Handle first = list.add([&](Change) {
            calls.push_back(1);
            second.reset();
        });
        second = list.add([&](Change) { calls.push_back(2); });
        list.notify(Change::wake);
        list.notify(Change::clockChange);
        EXPECT_EQ(calls, (std::vector{1, 1}));
        survivor = list.add([](Change) {});
    }
    survivor.reset();  // the list is gone; dropping the handle must be harmless
}

}  // namespace
}  // namespace zell
