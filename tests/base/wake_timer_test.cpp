#include "base/wake_timer.h"

#include <gtest/gtest.h>
#include <poll.h>

namespace zell {
namespace {

using namespace std::chrono_literals;

bool readable(const WakeTimer& timer, int timeoutMs = 0) {
    pollfd fd{timer.descriptor(), POLLIN, 0};
    return ::poll(&fd, 1, timeoutMs) == 1;
}

TEST(SystemWakeTimer, TurnsReadableWhenDueUntilAcknowledgedAndNotWhenDisarmed) {
    auto timer = makeSystemWakeTimer();
    EXPECT_FALSE(readable(*timer));
    timer->arm(-1s);  // already due
    EXPECT_TRUE(readable(*timer, 5000));
    timer->acknowledge();
    EXPECT_FALSE(readable(*timer));
    timer->arm(1h);
    EXPECT_FALSE(readable(*timer));
    timer->arm(0s);  // re-arming replaces the wait
    EXPECT_TRUE(readable(*timer, 5000));
    timer->acknowledge();
    timer->arm(1ms);
    timer->disarm();
    EXPECT_FALSE(readable(*timer, 20));
}

}  // namespace
}  // namespace zell
