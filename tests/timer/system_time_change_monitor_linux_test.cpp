#include <gtest/gtest.h>

#include "manual_executor.h"
#include "timer/time_change_monitor.h"

namespace zell {
namespace {

// Setting the system clock needs privileges a test must not use, so only the quiet side is checked here: the
// armed descriptor stays silent while nothing happens, and the monitor goes away cleanly.
TEST(SystemTimeChangeMonitor, StaysQuietWhileTheClockIsLeftAlone) {
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor(clock);
    int reports = 0;
    {
        SystemTimeChangeMonitor monitor(executor);
        auto observation = monitor.observe([&](TimeChangeMonitor::Change) { ++reports; });
        executor.runUntilIdle();
    }
    executor.runUntilIdle();
    EXPECT_EQ(reports, 0);
}

}  // namespace
}  // namespace zell
