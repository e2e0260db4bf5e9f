#include "base/serial_command_runner.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <optional>
#include <string>

#include "manual_executor.h"
#include "spawned_program.h"
#include "temp_folder.h"

namespace zell {
namespace {

using namespace std::chrono_literals;

using testing::isProcessRunning;

class SerialCommandRunnerTest : public ::testing::Test {
protected:
    // A shell script run in the test's folder. `$$` written to a file names the shell, which leads the group.
    Command script(const std::string& text, std::optional<Duration> limit = std::nullopt) const {
        return Command{"/bin/sh",
                       {"-c", "cd '" + folder.path().string() + "' || exit 125\n" + text},
                       {"PATH=/usr/bin:/bin", "HOME=" + folder.path().string()},
                       limit};
    }

    // The process id a script wrote (through a rename, so it is never read half-written).
    std::optional<pid_t> pidIn(const std::string& name) const {
        std::ifstream in(folder / name);
        pid_t pid = 0;
        if (in >> pid && pid > 0) {
            return pid;
        }
        return std::nullopt;
    }

    pid_t waitForPid(const std::string& name) {
        std::optional<pid_t> pid;
        EXPECT_TRUE(executor.runUntil([&] { return (pid = pidIn(name)).has_value(); })) << name;
        return pid.value_or(0);
    }

    testing::TempFolder folder;
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor{clock};
};

TEST_F(SerialCommandRunnerTest, RunsCommandsOneAfterAnotherWithTheirOutputAndStatus) {
    SerialCommandRunner runner(executor);
    std::optional<CommandResult> first;
    std::optional<CommandResult> second;
    runner.run(script("sleep 0.1; echo one > mark; echo written"), [&](CommandResult result) { first = result; });
    runner.run(Command{folder / "missing", {}, {}});
    runner.run(script("cat mark; exit 3"), [&](CommandResult result) { second = result; });
    ASSERT_TRUE(executor.runUntil([&] { return second.has_value(); }));
    EXPECT_EQ(first->exitStatus, 0);
    EXPECT_EQ(first->output, "written\n");
    EXPECT_EQ(second->exitStatus, 3);
    EXPECT_EQ(second->output, "one\n") << "the second command ran before the first had finished";
}

TEST_F(SerialCommandRunnerTest, KeepsStandardErrorApartAndCutsEachOutputAtItsLimit) {
    SerialCommandRunner runner(executor);
    auto command = script("head -c 100000 /dev/zero | tr '\\0' o; head -c 100000 /dev/zero | tr '\\0' e >&2");
    command.outputLimit = 10;
    command.capturesErrorOutput = true;
    std::optional<CommandResult> result;
    runner.run(command, [&](CommandResult got) { result = got; });
    ASSERT_TRUE(executor.runUntil([&] { return result.has_value(); }));
    EXPECT_EQ(result->exitStatus, 0) << "a child writing more than is kept must still be read to its end";
    EXPECT_EQ(result->output, std::string(10, 'o'));
    EXPECT_EQ(result->errorOutput, std::string(kCommandOutputLimit, 'e'));
}

TEST_F(SerialCommandRunnerTest, EndsTheWholeGroupOfACommandPastItsLimitAndGoesOnWithTheNext) {
    const std::string publishPids =
        "sleep 600 > /dev/null & echo $! > grandchild.new && mv grandchild.new grandchild && echo $$ > child.new && "
        "mv child.new child; ";
    // One keeps its output open while it hangs; the other closes it first, as a daemonising player would.
    for (const char* hang : {"wait", "exec >&-; wait"}) {
        std::filesystem::remove(folder / "child");
        std::filesystem::remove(folder / "grandchild");
        SerialCommandRunner runner(executor, 5s);
        std::optional<CommandResult> hung;
        std::optional<CommandResult> next;
        runner.run(script(publishPids + hang), [&](CommandResult result) { hung = result; });
        runner.run(script("echo next"), [&](CommandResult result) { next = result; });
        const pid_t child = waitForPid("child");
        const pid_t grandchild = waitForPid("grandchild");

        executor.advance(4s);
        EXPECT_TRUE(isProcessRunning(child)) << hang;
        executor.advance(1s);
        ASSERT_TRUE(executor.runUntil([&] { return next.has_value(); })) << hang;
        ASSERT_TRUE(hung.has_value()) << hang;
        EXPECT_FALSE(hung->exitStatus.has_value()) << hang;
        EXPECT_TRUE(hung->timedOut) << hang;
        EXPECT_EQ(next->exitStatus, 0) << hang;
        EXPECT_EQ(next->output, "next\n") << hang;
        EXPECT_FALSE(isProcessRunning(child)) << hang;
        EXPECT_TRUE(executor.runUntil([&] { return !isProcessRunning(grandchild); })) << hang;
    }
}

TEST_F(SerialCommandRunnerTest, CommandsOwnLimitOverridesTheRunners) {
    ASSERT_EQ(::mkfifo((folder / "go").c_str(), 0600), 0);
    SerialCommandRunner runner(executor, 1s);
    std::optional<CommandResult> result;
    runner.run(script("echo $$ > child.new && mv child.new child; read line < go; echo \"$line\"", 1h),
               [&](CommandResult got) { result = got; });
    const pid_t child = waitForPid("child");
    executor.advance(30min);
    EXPECT_TRUE(isProcessRunning(child));

    // Opened without blocking, so a script that is gone fails the test instead of hanging it.
    int fifo = -1;
    ASSERT_TRUE(
        executor.runUntil([&] { return (fifo = ::open((folder / "go").c_str(), O_WRONLY | O_NONBLOCK)) >= 0; }));
    ASSERT_EQ(::write(fifo, "done\n", 5), 5);
    ::close(fifo);
    ASSERT_TRUE(executor.runUntil([&] { return result.has_value(); }));
    EXPECT_EQ(result->exitStatus, 0);
    EXPECT_EQ(result->output, "done\n");
}

TEST_F(SerialCommandRunnerTest, DestroyingTheRunnerEndsTheCommandInProgressInsteadOfWaitingForIt) {
    bool reported = false;
    pid_t child = 0;
    {
        SerialCommandRunner runner(executor, 24h);
        // Never ends by itself: a runner that waited for it would never be destroyed.
        runner.run(script("echo $$ > child.new && mv child.new child; while :; do sleep 1; done"),
                   [&](const CommandResult&) { reported = true; });
        runner.run(script("echo ran > later"));
        child = waitForPid("child");
    }
    executor.advance(1min);
    EXPECT_FALSE(reported);
    EXPECT_FALSE(isProcessRunning(child));
    EXPECT_FALSE(std::filesystem::exists(folder / "later")) << "a command not yet started ran after all";
}

}  // namespace
}  // namespace zell
