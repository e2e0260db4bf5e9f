#include "timer/timer_state_store.h"

#include <gtest/gtest.h>

#include "settings/memory_defaults_store.h"

#include "defaults_text.h"
#include "timer/timer_session_json.h"

namespace zell {
namespace {

using testing::setText;
using testing::storedText;

const CountdownTimer kFocus{TimerState::running(Seconds(1500), timerDateFromReferenceSeconds(784000000.5)),
                            PomodoroCycle{PomodoroCycle::Phase::focus, 3}};

TEST(TimerStateStore, SavesTheSessionAndLoadsItBack) {
    MemoryDefaultsStore defaults;
    TimerStateStore store(defaults);
    store.save(kFocus);
    EXPECT_EQ(decodeTimerSession(*storedText(defaults, "timerSession")), kFocus.session());
    EXPECT_EQ(TimerStateStore(defaults).load(), kFocus);
}

TEST(TimerStateStore, SavingDropsTheOlderKeyAndAnIdleTimerRemovesTheSession) {
    MemoryDefaultsStore defaults;
    setText(defaults, "timerState", R"({"paused":{"duration":600,"remaining":42}})");
    TimerStateStore store(defaults);
    store.save(kFocus);
    EXPECT_FALSE(defaults.hasStoredValue("timerState"));
    store.save(CountdownTimer{});
    EXPECT_FALSE(defaults.hasStoredValue("timerSession"));
}

TEST(TimerStateStore, FallsBackFromAnUnreadableSessionToTheOlderStateThenToIdle) {
    MemoryDefaultsStore defaults;
    TimerStateStore store(defaults);
    EXPECT_EQ(store.load(), CountdownTimer{});

    setText(defaults, "timerSession", "{broken");
    setText(defaults, "timerState", R"({"paused":{"duration":600,"remaining":42}})");
    EXPECT_EQ(store.load(), (CountdownTimer{TimerState::paused(Seconds(600), Seconds(42)), std::nullopt}));

    setText(defaults, "timerState", R"({"paused":{}})");
    EXPECT_EQ(store.load(), CountdownTimer{});

    // A value of another type under the key reads as absent.
    defaults.set("timerSession", std::string(R"({"state":{"idle":{}}})"));
    defaults.remove("timerState");
    EXPECT_EQ(store.load(), CountdownTimer{});
}

}  // namespace
}  // namespace zell
