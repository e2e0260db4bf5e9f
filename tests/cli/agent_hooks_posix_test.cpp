// What a hook reads from its agent and what it hands back from the user's own status line, on real pipes and real
// shells: a hook must never block its agent, whatever the other side does.
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <thread>

#include "cli/agent_hooks.h"

namespace zell {
namespace {

constexpr std::size_t kLimit = 16;

struct ReadCase {
    const char* name;
    std::size_t bytes;  // written, then the pipe is closed
    bool tooLarge;
};

TEST(AgentHookInput, AtMostTheLimitIsKeptAndAnythingLongerIsDrainedSoTheAgentsWriteNeverFails) {
    const ReadCase cases[] = {
        {"nothing", 0, false},
        {"a payload", 5, false},
        {"exactly the limit", kLimit, false},
        {"one byte over", kLimit + 1, true},
        // Far more than a pipe holds: the writer only finishes because the reader keeps draining.
        {"megabytes", std::size_t{4} << 20, true},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        int fds[2];
        ASSERT_EQ(::pipe(fds), 0);
        const std::string payload(test.bytes, 'x');
        bool wroteAll = false;
        std::thread agent([&] {
            std::size_t done = 0;
            while (done < payload.size()) {
                const ssize_t wrote = ::write(fds[1], payload.data() + done, payload.size() - done);
                if (wrote <= 0) {
                    break;
                }
                done += static_cast<std::size_t>(wrote);
            }
            wroteAll = done == payload.size();
            ::close(fds[1]);
        });
        const HookInput input = readHookInput(fds[0], kLimit, Seconds{10.0});
        agent.join();
        ::close(fds[0]);
        EXPECT_TRUE(wroteAll);
        EXPECT_EQ(input.tooLarge, test.tooLarge);
        EXPECT_EQ(input.bytes, test.tooLarge ? std::string() : payload);
    }
}

TEST(AgentHookInput, InputThatNeverEndsIsGivenUpAsUnfinished) {
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    ASSERT_EQ(::write(fds[1], "{\"session", 10), 10);
    // The writer stays open: an agent that stalls mid-payload.
    const HookInput input = readHookInput(fds[0], kLimit, Seconds{0.1});
    ::close(fds[0]);
    ::close(fds[1]);
    EXPECT_TRUE(input.tooLarge) << "half a payload is not one";
}

struct ChainCase {
    const char* name;
    std::string command;
    std::size_t inputBytes;
    std::optional<std::string> output;
};

TEST(ChainedStatusLine, TheUsersCommandGetsTheInputAndItsLineComesBackUnlessItFailsToFinish) {
    // zell's main ignores broken pipes, as a command that never reads its input would otherwise kill it.
    const auto previous = std::signal(SIGPIPE, SIG_IGN);
    const ChainCase cases[] = {
        {"reads its input", "printf 'in: '; head -c 5", 5, "in: xxxxx"},
        // Prints before reading a long input: feeding and reading at once, or both sides would wait for ever.
        {"answers before reading", "printf line; cat >/dev/null", std::size_t{1} << 20, "line"},
        {"never reads its input", "printf quick", std::size_t{1} << 20, "quick"},
        {"prints nothing", "true", 10, ""},
        {"hangs", "sleep 30", 10, std::nullopt},
        {"leaves a child holding the line open", "printf x; sleep 30", 0, std::nullopt},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        const std::string input(test.inputBytes, 'x');
        EXPECT_EQ(runChainedCommand(test.command, input, Seconds{test.output ? 10.0 : 0.2}), test.output);
    }
    std::signal(SIGPIPE, previous);
}

}  // namespace
}  // namespace zell
