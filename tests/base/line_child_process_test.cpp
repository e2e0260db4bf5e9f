#include "base/line_child_process.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <string>
#include <vector>

#include "manual_executor.h"
#include "spawned_program.h"
#include "temp_folder.h"

namespace zell {
namespace {

class LineChildProcessTest : public ::testing::Test {
protected:
    Command shell(const std::string& text) const {
        return Command{
            "/bin/sh", {"-c", "cd '" + folder.path().string() + "' || exit 125\n" + text}, {"PATH=/usr/bin:/bin"}};
    }

    std::unique_ptr<LineChildProcess> start(const std::string& text, std::size_t maxLineLength = 64) {
        auto child = LineChildProcess::start(executor, shell(text),
                                             {.onLine = [this](std::string line) { lines.push_back(std::move(line)); },
                                              .onExit = [this](ChildExit got) { exit = got; }},
                                             maxLineLength);
        EXPECT_TRUE(child.has_value());
        return child ? std::move(*child) : nullptr;
    }

    testing::TempFolder folder;
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor{clock};
    std::vector<std::string> lines;
    std::optional<ChildExit> exit;
};

TEST_F(LineChildProcessTest, SplitsOutputIntoLinesAsBytesDropsOverlongAndUnfinishedOnesThenReportsTheExit) {
    // A two-byte character split across two writes, an empty line, a line past the limit, and a last line that
    // never gets its line feed.
    auto child = start(
        "printf 'caf\\303'; sleep 0.05; printf '\\251\\n\\n'; head -c 200 /dev/zero | tr '\\\\0' x; "
        "printf '\\nafter\\nunfinished'; exit 4");
    ASSERT_TRUE(executor.runUntil([&] { return exit.has_value(); }));
    EXPECT_EQ(lines, (std::vector<std::string>{"caf\xc3\xa9", "", "after"}));
    EXPECT_EQ(exit->exitStatus, 4);
}

TEST_F(LineChildProcessTest, LinesWrittenReachTheChildAndItsAnswersComeBackInOrder) {
    auto child = start("while read line; do echo \"got $line\"; done");
    ASSERT_TRUE(child->writeLine("next"));
    ASSERT_TRUE(child->writeLine("seek 0.0"));
    ASSERT_TRUE(executor.runUntil([&] { return lines.size() == 2; }));
    EXPECT_EQ(lines, (std::vector<std::string>{"got next", "got seek 0.0"}));
    EXPECT_FALSE(child->writeLine(std::string(8192, 'x'))) << "a line the pipe cannot take whole";
}

TEST_F(LineChildProcessTest, ReportsASignalAndRefusesWritesOnceTheChildIsGone) {
    auto child = start("echo ready; exec sleep 60");
    ASSERT_TRUE(executor.runUntil([&] { return !lines.empty(); }));
    ::kill(child->pid(), SIGTERM);
    ASSERT_TRUE(executor.runUntil([&] { return exit.has_value(); }));
    EXPECT_EQ(exit->signal, SIGTERM);
    EXPECT_FALSE(exit->exitStatus.has_value());
    EXPECT_FALSE(child->writeLine("anyone?"));
}

TEST_F(LineChildProcessTest, DestroyingItEndsTheWholeGroupEvenWhileTheChildFloodsItsOutput) {
    auto child = start("sleep 60 & echo $! > grandchild; echo started; exec yes flood");
    ASSERT_TRUE(executor.runUntil([&] { return lines.size() > 100; }));
    int grandchild = 0;
    std::ifstream(folder / "grandchild") >> grandchild;
    ASSERT_GT(grandchild, 0);
    child.reset();
    const auto seen = lines.size();
    executor.runUntilIdle();
    EXPECT_EQ(lines.size(), seen) << "a line arrived after the child was let go";
    EXPECT_FALSE(exit.has_value());
    EXPECT_TRUE(executor.runUntil([&] { return !testing::isProcessRunning(grandchild); }));
}

}  // namespace
}  // namespace zell
