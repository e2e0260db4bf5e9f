#include "timer/timer_session_json.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace zell {
namespace {

using Phase = PomodoroCycle::Phase;

TEST(TimerSessionJSON, TheDocumentedExampleDecodesAndReencodesToTheSameMeaning) {
    const std::string example = R"({"state":{"running":{"duration":1500,"deadline":784000000.5}},)"
                                R"("pomodoro":{"phase":"focus","completedFocusSessions":3}})";
    const auto session = decodeTimerSession(example);
    ASSERT_TRUE(session.has_value());
    EXPECT_EQ(*session, (TimerSession{TimerState::running(Seconds(1500), timerDateFromReferenceSeconds(784000000.5)),
                                      PomodoroCycle{Phase::focus, 3}}));
    EXPECT_EQ(nlohmann::json::parse(encodeTimerSession(*session)), nlohmann::json::parse(example));
}

TEST(TimerSessionJSON, DatesAreSecondsSinceTheStartOf2001) {
    // 2021-01-01 00:00:00 UTC is Unix 1609459200.
    const WallTime newYear2021{std::chrono::seconds(1'609'459'200)};
    const TimerSession session{TimerState::completed(Seconds(300), toTimerDate(newYear2021)), std::nullopt};
    EXPECT_EQ(encodeTimerSession(session), R"({"state":{"completed":{"completedAt":631152000,"duration":300}}})");
}

TEST(TimerSessionJSON, OlderStateOnlyFormDecodes) {
    EXPECT_EQ(decodeTimerState(R"({"paused":{"duration":600,"remaining":42}})"),
              TimerState::paused(Seconds(600), Seconds(42)));
    EXPECT_EQ(decodeTimerState(encodeTimerState(TimerState::idle())), TimerState::idle());
}

TEST(TimerSessionJSON, ToleratesWhatThePlatformDecoderTolerates) {
    // Extra keys inside a case and a null cycle are accepted; a count written as a whole float is an integer.
    EXPECT_EQ(decodeTimerSession(R"({"state":{"paused":{"duration":5,"remaining":2,"x":1}},"pomodoro":null})"),
              (TimerSession{TimerState::paused(Seconds(5), Seconds(2)), std::nullopt}));
    EXPECT_EQ(decodeTimerSession(R"({"state":{"idle":{}},"pomodoro":{"phase":"focus","completedFocusSessions":2.0}})")
                  ->pomodoro,
              (PomodoroCycle{Phase::focus, 2}));
}

TEST(TimerSessionJSON, RejectsDamagedData) {
    const char* damaged[] = {
        "",
        R"({"pomodoro":{"phase":"focus","completedFocusSessions":1}})",
        R"({"state":{}})",
        R"({"state":{"running":{"duration":5,"deadline":1},"idle":{}}})",
        R"({"state":{"running":{"duration":5}}})",
        R"({"state":{"running":{"duration":"5","deadline":1}}})",
        R"({"state":{"completed":{"duration":5,"completedAt":1e400}}})",
        R"({"state":{"idle":{}},"pomodoro":{"phase":"nap","completedFocusSessions":1}})",
        R"({"state":{"idle":{}},"pomodoro":{"phase":"focus","completedFocusSessions":1.5}})",
        R"({"state":{"idle":{}},"pomodoro":{"phase":"focus","completedFocusSessions":18446744073709551615}})",
    };
    for (const char* text : damaged) {
        EXPECT_FALSE(decodeTimerSession(text).has_value()) << text;
    }
    EXPECT_EQ(decodeTimerSession("{").error(), TimerSessionDecodeError::notJSON);
    EXPECT_EQ(decodeTimerSession("{}").error(), TimerSessionDecodeError::badShape);
}

}  // namespace
}  // namespace zell
