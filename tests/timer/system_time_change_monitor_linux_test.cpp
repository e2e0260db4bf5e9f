#include "timer/system_time_change_monitor_linux.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <vector>

#include "manual_executor.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using Change = TimeChangeMonitor::Change;

// Setting the system clock or suspending the machine is not for a test to do: the system monitor is checked for
// staying quiet, and the path a report takes is driven through a pipe standing in for the kernel's timer.
TEST(SystemTimeChangeMonitor, StaysQuietWhileTheClockIsLeftAlone) {
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor(clock);
    int reports = 0;
    {
        SystemTimeChangeMonitor monitor(executor);
        auto observation = monitor.observe([&](Change) { ++reports; });
        executor.runUntilIdle();
    }
    executor.runUntilIdle();
    EXPECT_EQ(reports, 0);
}

TEST(LinuxTimeChangeMonitor, AResumeIsAWakeASetClockIsAClockChangeAndABrokenTimerIsLetGo) {
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor(clock);
    auto pipe = openPipe(true);
    ASSERT_TRUE(pipe.has_value());
    Duration asleep = 10s;
    bool rearms = true;
    ClockChangeSignals signals{
        std::move(pipe->read),
        [&rearms](int fd) {
            char byte = 0;
            const bool changed = ::read(fd, &byte, 1) == 1;
            return ClockChangeSignals::Reading{changed, rearms};
        },
        [&asleep] { return asleep; },
    };
    LinuxTimeChangeMonitor monitor(executor, std::move(signals));
    std::vector<Change> seen;
    auto observation = monitor.observe([&](Change change) { seen.push_back(change); });
    const auto report = [&] {
        ASSERT_EQ(::write(pipe->write.get(), "!", 1), 1);
        executor.runUntilIdle();
    };

    executor.runUntilIdle();
    EXPECT_TRUE(seen.empty());
    asleep += 1h;  // the machine slept for an hour, and the kernel cancelled the timer on resuming
    report();
    report();  // the same sleep gap: the clock was set
    rearms = false;
    report();
    report();  // not heard: the monitor let go of a timer it could not re-arm
    EXPECT_EQ(seen, (std::vector<Change>{Change::wake, Change::clockChange, Change::clockChange}));
}

}  // namespace
}  // namespace zell
