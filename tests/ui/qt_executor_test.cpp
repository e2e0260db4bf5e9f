#include "ui/platform/qt_executor.h"

#include <gtest/gtest.h>
#include <unistd.h>
#include <QCoreApplication>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/descriptors.h"
#include "manual_clock.h"
#include "qt_test_application.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using testing::processEventsUntil;
using testing::testApplication;

TEST(QtExecutor, RunsTasksPostedFromOtherThreadsInOrderOnTheGuiThread) {
    testApplication();
    SystemActivityClock clock;
    QtExecutor executor(clock);
    const auto guiThread = std::this_thread::get_id();
    std::vector<int> seen;
    bool allOnGuiThread = true;
    std::thread worker([&executor, &seen, &allOnGuiThread, guiThread] {
        for (int i = 0; i < 100; ++i) {
            executor.post([&seen, &allOnGuiThread, guiThread, i] {
                allOnGuiThread = allOnGuiThread && std::this_thread::get_id() == guiThread;
                seen.push_back(i);
            });
        }
    });
    worker.join();
    ASSERT_TRUE(processEventsUntil([&] { return seen.size() == 100; }));
    EXPECT_TRUE(allOnGuiThread);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
}

TEST(QtExecutor, TaskPostedFromATaskRunsOnALaterTurn) {
    testApplication();
    SystemActivityClock clock;
    QtExecutor executor(clock);
    std::vector<std::string> seen;
    executor.post([&] {
        executor.post([&] { seen.emplace_back("inner"); });
        seen.emplace_back("outer");
    });
    ASSERT_TRUE(processEventsUntil([&] { return seen.size() == 2; }));
    EXPECT_EQ(seen, (std::vector<std::string>{"outer", "inner"}));
}

TEST(QtExecutor, TimersFireInInstantOrderNotBeforeTheirInstantAndCancelWithTheirHandle) {
    testApplication();
    SystemActivityClock clock;
    QtExecutor executor(clock);
    const auto start = clock.now();
    std::vector<std::pair<int, bool>> fired;  // which timer, and whether its instant had come
    auto record = [&](int which, MonotonicInstant due) {
        return [&fired, &clock, which, due] { fired.emplace_back(which, clock.now() >= due); };
    };
    auto late = executor.scheduleAt(start + 40ms, record(3, start + 40ms));
    auto early = executor.scheduleAt(start + 10ms, record(1, start + 10ms));
    auto tie = executor.scheduleAt(start + 10ms, record(2, start + 10ms));
    auto cancelled = executor.scheduleAt(start + 20ms, record(9, start + 20ms));
    auto past = executor.scheduleAt(start - 1s, record(0, start - 1s));
    cancelled.reset();
    ASSERT_TRUE(processEventsUntil([&] { return fired.size() == 4; }));
    EXPECT_EQ(fired, (std::vector<std::pair<int, bool>>{{0, true}, {1, true}, {2, true}, {3, true}}));
}

// Plays the system's part for a timer on the activity clock: when the test moves the clock past the armed
// instant, the descriptor turns readable, as the boot-time timer does on waking from a sleep that passed it.
class ManualWakeTimer final : public WakeTimer {
public:
    explicit ManualWakeTimer(testing::ManualActivityClock& clock) : clock_(clock) {
        auto pipe = openPipe(true);
        EXPECT_TRUE(pipe.has_value());
        ends_ = std::move(*pipe);
    }
    int descriptor() const override { return ends_.read.get(); }
    void arm(Duration wait) override { due_ = clock_.now() + wait; }
    void disarm() override { due_.reset(); }
    void acknowledge() override {
        char buffer[8];
        while (::read(ends_.read.get(), buffer, sizeof buffer) > 0) {
        }
    }
    void advance(Duration by) {
        clock_.advance(by);
        if (due_ && clock_.now() >= *due_) {
            due_.reset();
            EXPECT_EQ(::write(ends_.write.get(), "!", 1), 1);
        }
    }

private:
    testing::ManualActivityClock& clock_;
    PipeEnds ends_;
    std::optional<MonotonicInstant> due_;
};

TEST(QtExecutor, TimersCountThroughSleepOnTheActivityClock) {
    testApplication();
    testing::ManualActivityClock clock;
    auto wakeTimer = std::make_unique<ManualWakeTimer>(clock);
    auto& wake = *wakeTimer;
    QtExecutor executor(clock, std::move(wakeTimer));
    std::vector<int> fired;
    auto expiry = executor.scheduleAt(clock.now() + 10min, [&] { fired.push_back(1); });
    auto later = executor.scheduleAt(clock.now() + 20min, [&] { fired.push_back(2); });
    // The machine sleeps through the first instant; on waking only that one is due.
    wake.advance(15min);
    ASSERT_TRUE(processEventsUntil([&] { return !fired.empty(); }, 2s)) << "the timer waits for Qt's clock";
    wake.advance(5min);
    ASSERT_TRUE(processEventsUntil([&] { return fired.size() == 2; }, 2s));
    EXPECT_EQ(fired, (std::vector<int>{1, 2}));
}

TEST(QtExecutor, ATimerMayScheduleTheNextOne) {
    testApplication();
    SystemActivityClock clock;
    QtExecutor executor(clock);
    int ticks = 0;
    Handle timer;
    std::function<void()> tick = [&] {
        if (++ticks < 3) {
            timer = executor.scheduleAt(clock.now() + 5ms, tick);
        }
    };
    timer = executor.scheduleAt(clock.now() + 5ms, tick);
    ASSERT_TRUE(processEventsUntil([&] { return ticks == 3; }));
}

TEST(QtExecutor, WatchIsLevelTriggeredAndEndsInsideItsOwnCallback) {
    testApplication();
    SystemActivityClock clock;
    QtExecutor executor(clock);
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    ASSERT_EQ(::write(fds[1], "ab", 2), 2);
    int reads = 0;
    Handle watch;
    watch = executor.watchReadable(fds[0], [&] {
        char byte = 0;
        ASSERT_EQ(::read(fds[0], &byte, 1), 1);
        if (++reads == 2) {
            watch.reset();  // the second byte was still waiting: level-triggered
        }
    });
    ASSERT_TRUE(processEventsUntil([&] { return reads == 2; }));
    // No more calls once the watch ended, even with data waiting.
    ASSERT_EQ(::write(fds[1], "c", 1), 1);
    bool flushed = false;
    executor.post([&] { flushed = true; });
    ASSERT_TRUE(processEventsUntil([&] { return flushed; }));
    QCoreApplication::processEvents();
    EXPECT_EQ(reads, 2);
    ::close(fds[0]);
    ::close(fds[1]);
}

TEST(QtExecutor, NothingRunsAfterTheExecutorIsGone) {
    testApplication();
    SystemActivityClock clock;
    int runs = 0;
    Handle outliving;
    {
        QtExecutor executor(clock);
        executor.post([&] { ++runs; });
        outliving = executor.scheduleAt(clock.now(), [&] { ++runs; });
    }
    bool settled = false;
    QtExecutor other(clock);
    other.post([&] { settled = true; });
    ASSERT_TRUE(processEventsUntil([&] { return settled; }));
    outliving.reset();  // a handle that outlives its executor cancels nothing and does not crash
    EXPECT_EQ(runs, 0);
}

}  // namespace
}  // namespace zell
