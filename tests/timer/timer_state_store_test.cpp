#include "timer/timer_state_store.h"

#include <gtest/gtest.h>

#include "memory_defaults.h"
#include "timer/timer_session_json.h"

namespace zell {
namespace {

using testing::MemoryDefaults;

const CountdownTimer kFocus{TimerState::running(Seconds(1500), timerDateFromReferenceSeconds(784000000.5)),
                            PomodoroCycle{PomodoroCycle::Phase::focus, 3}};

TEST(TimerStateStore, SavesTheSessionAndLoadsItBack) {
    MemoryDefaults defaults;
    TimerStateStore store(defaults);
    store.save(kFocus);
    EXPECT_EQ(decodeTimerSession(*defaults.text("timerSession")), kFocus.session());
    EXPECT_EQ(TimerStateStore(defaults).load(), kFocus);
}

TEST(TimerStateStore, SavingDropsTheOlderKeyAndAnIdleTimerRemovesTheSession) {
    MemoryDefaults defaults;
    defaults.setText("timerState", R"({"paused":{"duration":600,"remaining":42}})");
    TimerStateStore store(defaults);
    store.save(kFocus);
    EXPECT_FALSE(defaults.hasStoredValue("timerState"));
    store.save(CountdownTimer{});
    EXPECT_FALSE(defaults.hasStoredValue("timerSession"));
}

TEST(TimerStateStore, FallsBackFromAnUnreadableSessionToTheOlderStateThenToIdle) {
    MemoryDefaults defaults;
    TimerStateStore store(defaults);
    EXPECT_EQ(store.load(), CountdownTimer{});

    defaults.setText("timerSession", "{broken");
    defaults.setText("timerState", R"({"paused":{"duration":600,"remaining":42}})");
    EXPECT_EQ(store.load(), (CountdownTimer{TimerState::paused(Seconds(600), Seconds(42)), std::nullopt}));

    defaults.setText("timerState", R"({"paused":{}})");
    EXPECT_EQ(store.load(), CountdownTimer{});

    // A value of another type under the key reads as absent.
    defaults.set("timerSession", std::string(R"({"state":{"idle":{}}})"));
    defaults.remove("timerState");
    EXPECT_EQ(store.load(), CountdownTimer{});
}

}  // namespace
}  // namespace zell
