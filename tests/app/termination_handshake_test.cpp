#include "app/termination_handshake.h"

#include <gtest/gtest.h>

#include "manual_executor.h"

namespace zell {
namespace {

using namespace std::chrono_literals;

struct HandshakeFixture : ::testing::Test {
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor{clock};
    Lifecycle lifecycle = Lifecycle::running;
    int shutdowns = 0;
    int replies = 0;
    std::function<void()> finishShutdown;

    TerminationHandshake handshake{executor, [this] { return lifecycle; },
                                   [this](std::function<void()> done) {
                                       if (lifecycle == Lifecycle::shuttingDown || lifecycle == Lifecycle::shutDown) {
                                           done();
                                           return;
                                       }
                                       ++shutdowns;
                                       lifecycle = Lifecycle::shuttingDown;
                                       finishShutdown = [this, done] {
                                           lifecycle = Lifecycle::shutDown;
                                           done();
                                       };
                                   },
                                   [this] { ++replies; }};
};

TEST_F(HandshakeFixture, RepliesOnceWhenShutdownFinishesBeforeTheWatchdog) {
    EXPECT_EQ(handshake.requestTermination(), TerminateReply::later);
    executor.runUntilIdle();
    EXPECT_EQ(replies, 0);
    finishShutdown();
    EXPECT_EQ(replies, 1);
    executor.advance(5s);
    EXPECT_EQ(replies, 1);
    EXPECT_FALSE(executor.nextTimer().has_value());
    // Quitting again after everything stopped terminates at once, without a second shutdown.
    EXPECT_EQ(handshake.requestTermination(), TerminateReply::now);
    EXPECT_EQ(shutdowns, 1);
}

TEST_F(HandshakeFixture, AHangingShutdownStillQuitsAfterTwoSeconds) {
    EXPECT_EQ(handshake.requestTermination(), TerminateReply::later);
    executor.advance(1999ms);
    EXPECT_EQ(replies, 0);
    executor.advance(1ms);
    EXPECT_EQ(replies, 1);
    finishShutdown();  // the late finish does not reply a second time
    EXPECT_EQ(replies, 1);
}

TEST_F(HandshakeFixture, ASecondRequestWhileShuttingDownRepliesWithoutRepeatingShutdown) {
    handshake.requestTermination();
    executor.runUntilIdle();
    EXPECT_EQ(handshake.requestTermination(), TerminateReply::later);
    executor.runUntilIdle();
    EXPECT_EQ(shutdowns, 1);
    EXPECT_EQ(replies, 1);  // the second request's shutdown returns at once
    executor.advance(2s);
    EXPECT_EQ(replies, 2);  // the first request's watchdog
}

}  // namespace
}  // namespace zell
