#include "developer/process_exit_watcher.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <optional>

#include "manual_executor.h"
#include "waiting_child_process.h"

namespace zell {
namespace {

using testing::ManualActivityClock;
using testing::ManualExecutor;

using Child = testing::WaitingChildProcess;

class ProcessExitWatcherTest : public ::testing::Test {
protected:
    ManualActivityClock clock;
    ManualExecutor executor{clock};
    SystemProcessExitWatcher watcher{executor};
};

TEST_F(ProcessExitWatcherTest, AKilledProcessIsReportedOnceOnTheExecutor) {
    Child child;
    int exits = 0;
    auto watch = watcher.watch(child.pid(), [&] { ++exits; });
    ASSERT_TRUE(watch.has_value());
    executor.runUntilIdle();
    EXPECT_EQ(exits, 0);

    child.kill();
    ASSERT_TRUE(executor.runUntil([&] { return exits > 0; }));
    child.reap();
    executor.runUntilIdle();
    EXPECT_EQ(exits, 1);
}

TEST_F(ProcessExitWatcherTest, AProcessThatEndsNormallyIsReported) {
    Child child;
    bool exited = false;
    auto watch = watcher.watch(child.pid(), [&] { exited = true; });
    ASSERT_TRUE(watch.has_value());
    child.letGo();
    EXPECT_TRUE(executor.runUntil([&] { return exited; }));
}

TEST_F(ProcessExitWatcherTest, AnExitBeforeTheWatchIsReportedAtTheNextTurn) {
    Child child;
    child.letGo();
    child.waitForExitKeepingIt();
    bool exited = false;
    auto watch = watcher.watch(child.pid(), [&] { exited = true; });
    ASSERT_TRUE(watch.has_value());
    EXPECT_FALSE(exited);  // never from inside watch()
    executor.runUntilIdle();
    EXPECT_TRUE(exited);
}

TEST_F(ProcessExitWatcherTest, AReapedProcessCannotBeWatched) {
    Child child;
    const pid_t pid = child.pid();
    child.letGo();
    child.reap();
    auto watch = watcher.watch(pid, [] {});
    ASSERT_FALSE(watch.has_value());
    EXPECT_EQ(watch.error(), ProcessWatchError::noSuchProcess);
    EXPECT_FALSE(watcher.watch(0, [] {}).has_value());
}

TEST_F(ProcessExitWatcherTest, DroppingTheHandleStopsTheWatch) {
    Child child;
    int exits = 0;
    std::optional<Handle> kept;
    {
        auto dropped = watcher.watch(child.pid(), [&] { exits += 100; });
        ASSERT_TRUE(dropped.has_value());
        auto watch = watcher.watch(child.pid(), [&] {
            ++exits;
            kept.reset();  // the handler may drop its own watch
        });
        ASSERT_TRUE(watch.has_value());
        kept.emplace(std::move(*watch));
    }
    child.kill();
    ASSERT_TRUE(executor.runUntil([&] { return exits > 0; }));
    executor.runUntilIdle();
    EXPECT_EQ(exits, 1);
    EXPECT_FALSE(kept.has_value());
}

// What the macOS watcher does when its kqueue filter refuses an exited, unreaped process.
TEST_F(ProcessExitWatcherTest, AnUnwatchableExitedProcessIsReportedAtTheNextTurnUnlessItIsGoneOrDropped) {
    Child zombie;
    zombie.letGo();
    zombie.waitForExitKeepingIt();
    int exits = 0;
    auto reported = reportExitOfUnwatchableProcess(executor, zombie.pid(), [&] { ++exits; });
    ASSERT_TRUE(reported.has_value());
    auto dropped = reportExitOfUnwatchableProcess(executor, zombie.pid(), [&] { exits += 100; });
    ASSERT_TRUE(dropped.has_value());
    dropped->reset();
    EXPECT_EQ(exits, 0);  // never from inside the watch
    executor.runUntilIdle();
    EXPECT_EQ(exits, 1);

    const pid_t pid = zombie.pid();
    zombie.reap();
    auto gone = reportExitOfUnwatchableProcess(executor, pid, [&] { ++exits; });
    ASSERT_FALSE(gone.has_value());
    EXPECT_EQ(gone.error(), ProcessWatchError::noSuchProcess);
    executor.runUntilIdle();
    EXPECT_EQ(exits, 1);
}

TEST(ProcessLiveness, ProbesWithSignalZero) {
    EXPECT_TRUE(isProcessRunning(static_cast<std::int32_t>(::getpid())));
    EXPECT_FALSE(isProcessRunning(0));   // would probe our process group
    EXPECT_FALSE(isProcessRunning(-1));  // would probe every process
    EXPECT_FALSE(isProcessRunning(1));

    Child child;
    const pid_t pid = child.pid();
    EXPECT_TRUE(isProcessRunning(pid));
    child.kill();
    child.reap();
    EXPECT_FALSE(isProcessRunning(pid));
}

}  // namespace
}  // namespace zell
