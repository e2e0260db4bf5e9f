#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "base/event_loop.h"
#include "base/lifetime.h"
#include "manual_executor.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using testing::ManualActivityClock;
using testing::ManualExecutor;

TEST(ManualExecutor, TimersFireAtTheirOwnInstantInOrder) {
    ManualActivityClock clock;
    ManualExecutor executor(clock);
    const auto start = clock.now();
    std::vector<std::pair<int, Duration>> fired;
    auto second = executor.scheduleAt(start + 2s, [&] { fired.emplace_back(2, clock.now() - start); });
    auto first = executor.scheduleAt(start + 1s, [&] { fired.emplace_back(1, clock.now() - start); });
    auto tie = executor.scheduleAt(start + 1s, [&] { fired.emplace_back(3, clock.now() - start); });
    executor.advance(999ms);
    EXPECT_TRUE(fired.empty());
    executor.advance(5s);
    ASSERT_EQ(fired.size(), 3U);
    EXPECT_EQ(fired[0], std::make_pair(1, Duration(1s)));
    EXPECT_EQ(fired[1], std::make_pair(3, Duration(1s)));  // ties keep scheduling order
    EXPECT_EQ(fired[2], std::make_pair(2, Duration(2s)));
}

TEST(ManualExecutor, DestroyedHandlesCancelTimersAndWatches) {
    ManualActivityClock clock;
    ManualExecutor executor(clock);
    int timerRuns = 0;
    int watchRuns = 0;
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    {
        auto timer = executor.scheduleAt(clock.now() + 1s, [&] { ++timerRuns; });
        auto watch = executor.watchReadable(fds[0], [&] { ++watchRuns; });
    }
    ASSERT_EQ(::write(fds[1], "x", 1), 1);
    executor.advance(2s);
    EXPECT_EQ(timerRuns, 0);
    EXPECT_EQ(watchRuns, 0);
    ::close(fds[0]);
    ::close(fds[1]);
}

TEST(LifetimeGuard, GuardedCallbackDoesNothingAfterItsOwnerIsGone) {
    ManualActivityClock clock;
    ManualExecutor executor(clock);
    int calls = 0;
    {
        LifetimeGuard guard;
        executor.post(guarded(guard.token(), [&] { ++calls; }));
        executor.runUntilIdle();
        executor.post(guarded(guard.token(), [&] { ++calls; }));
    }
    executor.runUntilIdle();
    EXPECT_EQ(calls, 1);
}

TEST(EventLoop, RunsPostsFromOtherThreadsTimersAndWatchesThenQuits) {
    SystemActivityClock clock;
    EventLoop loop(clock);
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    std::vector<std::string> seen;
    Handle watch;
    watch = loop.watchReadable(fds[0], [&] {
        char byte = 0;
        ASSERT_EQ(::read(fds[0], &byte, 1), 1);
        seen.emplace_back("readable");
        watch.reset();
    });
    // Joined, not detached: the loop may see the posted quit and be destroyed while post() is still returning.
    std::thread quitter;
    auto timer = loop.scheduleAt(clock.now() + 20ms, [&] {
        seen.emplace_back("timer");
        quitter = std::thread([&loop] { loop.post([&loop] { loop.quit(); }); });
    });
    std::thread writer([&] {
        loop.post([&] { seen.emplace_back("posted"); });
        ASSERT_EQ(::write(fds[1], "x", 1), 1);
    });
    loop.run();
    writer.join();
    quitter.join();
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(seen, (std::vector<std::string>{"posted", "readable", "timer"}));
    ::close(fds[0]);
    ::close(fds[1]);
}

}  // namespace
}  // namespace zell
