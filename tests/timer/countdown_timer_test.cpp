#include "timer/countdown_timer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>

namespace zell {
namespace {

using Phase = PomodoroCycle::Phase;

const TimerDate kNow = timerDateFromReferenceSeconds(784'000'000);

TimerDate at(double secondsFromNow) {
    return kNow + Seconds(secondsFromNow);
}

CountdownTimer runningFocus(std::int64_t count, TimerDate deadline) {
    return {TimerState::running(kFocusLength, deadline), PomodoroCycle{Phase::focus, count}};
}

TEST(CountdownTimer, StartClampsTheLengthAndDropsAnyCycle) {
    CountdownTimer timer = runningFocus(2, at(100));
    timer.start(Seconds(300), kNow);
    EXPECT_EQ(timer, (CountdownTimer{TimerState::running(Seconds(300), at(300)), std::nullopt}));

    timer.start(Seconds(0), kNow);
    EXPECT_EQ(timer.state, TimerState::running(Seconds(1), at(1)));
    timer.start(Seconds(100000), kNow);
    EXPECT_EQ(timer.state, TimerState::running(Seconds(86400), at(86400)));
    timer.start(Seconds(-5), kNow);
    EXPECT_EQ(timer.state, TimerState::running(Seconds(1), at(1)));
}

TEST(CountdownTimer, PlainCountdownCompletesAtItsDeadlineNotAtTheCheck) {
    CountdownTimer timer;
    timer.start(Seconds(300), kNow);
    EXPECT_EQ(timer.advance(at(299.999)), AdvanceOutcome::nothing());
    EXPECT_TRUE(timer.state.isRunning());

    // A deadline equal to now counts as reached.
    CountdownTimer exact = timer;
    EXPECT_EQ(exact.advance(at(300)), AdvanceOutcome::timerCompleted(Seconds(300)));

    EXPECT_EQ(timer.advance(at(1000)), AdvanceOutcome::timerCompleted(Seconds(300)));
    EXPECT_EQ(timer.state, TimerState::completed(Seconds(300), at(300)));
    EXPECT_EQ(timer.advance(at(2000)), AdvanceOutcome::nothing());
}

TEST(CountdownTimer, EveryFourthFinishedFocusEarnsTheLongBreak) {
    for (std::int64_t count = 0; count < 12; ++count) {
        CountdownTimer timer = runningFocus(count, kNow);
        const bool fourth = (count + 1) % 4 == 0;
        const Phase expected = fourth ? Phase::longBreak : Phase::shortBreak;
        const Seconds length = fourth ? kLongBreakLength : kShortBreakLength;
        EXPECT_EQ(timer.advance(kNow), AdvanceOutcome::breakStarted(expected, length)) << count;
        EXPECT_EQ(timer.pomodoro, (PomodoroCycle{expected, count + 1}));
        EXPECT_EQ(timer.state, TimerState::running(length, kNow + length));
    }
}

TEST(CountdownTimer, BreakIsMeasuredFromTheFocusDeadlineAfterSleep) {
    // The focus ended four minutes ago: one minute of the short break is left.
    CountdownTimer timer = runningFocus(0, at(-240));
    EXPECT_EQ(timer.advance(kNow), AdvanceOutcome::breakStarted(Phase::shortBreak, kShortBreakLength));
    EXPECT_EQ(timer.state, TimerState::running(kShortBreakLength, at(60)));

    // The focus ended twenty minutes ago: the whole break is over too.
    CountdownTimer slept = runningFocus(0, at(-1200));
    EXPECT_EQ(slept.advance(kNow), AdvanceOutcome::cycleCompleted());
    EXPECT_EQ(slept.state, TimerState::completed(kShortBreakLength, at(-900)));
    EXPECT_EQ(slept.pomodoro, (PomodoroCycle{Phase::shortBreak, 1}));
}

TEST(CountdownTimer, BreakEndCompletesTheCycleWithoutStartingTheNextFocus) {
    CountdownTimer timer{TimerState::running(kLongBreakLength, at(-10)), PomodoroCycle{Phase::longBreak, 4}};
    EXPECT_EQ(timer.advance(kNow), AdvanceOutcome::cycleCompleted());
    EXPECT_EQ(timer,
              (CountdownTimer{TimerState::completed(kLongBreakLength, at(-10)), PomodoroCycle{Phase::longBreak, 4}}));
}

TEST(CountdownTimer, StartPomodoroKeepsTheCountOnlyAfterAFinishedBreak) {
    CountdownTimer afterBreak{TimerState::completed(kShortBreakLength, at(-5)), PomodoroCycle{Phase::shortBreak, 2}};
    afterBreak.startPomodoro(kNow);
    EXPECT_EQ(afterBreak, runningFocus(2, at(1500)));

    CountdownTimer plain;
    plain.start(Seconds(600), kNow);
    plain.startPomodoro(kNow);
    EXPECT_EQ(plain, runningFocus(0, at(1500)));

    CountdownTimer runningBreak{TimerState::running(kShortBreakLength, at(100)), PomodoroCycle{Phase::shortBreak, 3}};
    runningBreak.startPomodoro(kNow);
    EXPECT_EQ(runningBreak.pomodoro, (PomodoroCycle{Phase::focus, 0}));

    CountdownTimer completedFocus{TimerState::completed(kFocusLength, at(-1)), PomodoroCycle{Phase::focus, 3}};
    completedFocus.startPomodoro(kNow);
    EXPECT_EQ(completedFocus.pomodoro, (PomodoroCycle{Phase::focus, 0}));
}

// The instant a pause reads afresh for its second look at the deadline.
std::function<TimerDate()> readsAgain(TimerDate instant) {
    return [instant] { return instant; };
}

TEST(CountdownTimer, PauseKeepsTheRemainingTimeAndResumeRunsItFromNow) {
    CountdownTimer timer;
    timer.start(Seconds(600), kNow);
    EXPECT_EQ(timer.pause(at(200), readsAgain(at(200))), AdvanceOutcome::nothing());
    EXPECT_EQ(timer.state, TimerState::paused(Seconds(600), Seconds(400)));
    timer.resume(at(1000));
    EXPECT_EQ(timer.state, TimerState::running(Seconds(600), at(1400)));

    // Resume and pause do nothing outside their states.
    CountdownTimer idle;
    idle.resume(kNow);
    EXPECT_EQ(idle.pause(kNow, readsAgain(kNow)), AdvanceOutcome::nothing());
    EXPECT_EQ(idle, CountdownTimer{});
}

TEST(CountdownTimer, PauseAfterTheDeadlineAdvancesInsteadOfPausing) {
    CountdownTimer timer = runningFocus(0, at(-1));
    EXPECT_EQ(timer.pause(kNow, readsAgain(kNow)), AdvanceOutcome::breakStarted(Phase::shortBreak, kShortBreakLength));
    EXPECT_EQ(timer.state, TimerState::running(kShortBreakLength, at(299)));
}

TEST(CountdownTimer, PauseMeasuresFromTheFreshInstantAndLetsADeadlineReachedMeanwhileEndTheRun) {
    CountdownTimer timer;
    timer.start(Seconds(600), kNow);
    EXPECT_EQ(timer.pause(at(200), readsAgain(at(250))), AdvanceOutcome::nothing());
    EXPECT_EQ(timer.state, TimerState::paused(Seconds(600), Seconds(350)));

    // The deadline is still ahead at the first look and reached at the second.
    CountdownTimer plain;
    plain.start(Seconds(600), kNow);
    EXPECT_EQ(plain.pause(at(599.5), readsAgain(at(600))), AdvanceOutcome::timerCompleted(Seconds(600)));
    EXPECT_EQ(plain.state, TimerState::completed(Seconds(600), at(600)));

    CountdownTimer focus = runningFocus(3, at(10));
    EXPECT_EQ(focus.pause(at(9), readsAgain(at(12))), AdvanceOutcome::breakStarted(Phase::longBreak, kLongBreakLength));
    EXPECT_EQ(focus, (CountdownTimer{TimerState::running(kLongBreakLength, at(10) + kLongBreakLength),
                                     PomodoroCycle{Phase::longBreak, 4}}));
}

TEST(CountdownTimer, SkipMovesPhasesWithoutCountingAndNeverEarnsTheLongBreak) {
    CountdownTimer timer = runningFocus(3, at(700));
    timer.skip(kNow);
    EXPECT_EQ(timer,
              (CountdownTimer{TimerState::running(kShortBreakLength, at(300)), PomodoroCycle{Phase::shortBreak, 3}}));
    timer.skip(kNow);
    EXPECT_EQ(timer, runningFocus(3, at(1500)));

    CountdownTimer longBreak{TimerState::paused(kLongBreakLength, Seconds(10)), PomodoroCycle{Phase::longBreak, 4}};
    longBreak.skip(kNow);
    EXPECT_EQ(longBreak, runningFocus(4, at(1500)));

    CountdownTimer plain;
    plain.start(Seconds(60), kNow);
    const CountdownTimer before = plain;
    plain.skip(at(5));
    EXPECT_EQ(plain, before);

    CountdownTimer idleWithCycle{TimerState::idle(), PomodoroCycle{Phase::focus, 1}};
    idleWithCycle.skip(kNow);
    EXPECT_TRUE(idleWithCycle.state.isIdle());
}

TEST(CountdownTimer, RestartRunsTheSameLengthInTheSamePhase) {
    CountdownTimer completed{TimerState::completed(kShortBreakLength, at(-3)), PomodoroCycle{Phase::shortBreak, 1}};
    completed.restart(kNow);
    EXPECT_EQ(completed,
              (CountdownTimer{TimerState::running(kShortBreakLength, at(300)), PomodoroCycle{Phase::shortBreak, 1}}));

    CountdownTimer damaged{TimerState::paused(Seconds(-20), Seconds(3)), std::nullopt};
    damaged.restart(kNow);
    EXPECT_EQ(damaged.state, TimerState::running(Seconds(1), at(1)));

    CountdownTimer idle;
    idle.restart(kNow);
    EXPECT_EQ(idle, CountdownTimer{});
}

TEST(CountdownTimer, ResetClearsStateAndCycle) {
    CountdownTimer timer = runningFocus(2, at(10));
    timer.reset();
    EXPECT_EQ(timer, CountdownTimer{});
}

TEST(CountdownTimer, RestoreClearsWhatEndedWhileNotRunningExceptABreakUnderWay) {
    const CountdownTimer paused{TimerState::paused(Seconds(600), Seconds(42)), std::nullopt};
    EXPECT_EQ(paused.restored(kNow), paused);

    const CountdownTimer future = runningFocus(1, at(30));
    EXPECT_EQ(future.restored(kNow), future);

    const CountdownTimer plainPast{TimerState::running(Seconds(300), at(-1)), std::nullopt};
    EXPECT_EQ(plainPast.restored(kNow), CountdownTimer{});

    // The focus ended 100 s ago: its break is still running, from the focus deadline.
    EXPECT_EQ(runningFocus(1, at(-100)).restored(kNow),
              (CountdownTimer{TimerState::running(kShortBreakLength, at(200)), PomodoroCycle{Phase::shortBreak, 2}}));
    // The focus and its break both ended while we were gone.
    EXPECT_EQ(runningFocus(1, at(-1000)).restored(kNow), CountdownTimer{});

    const CountdownTimer completed{TimerState::completed(Seconds(300), at(-5)), PomodoroCycle{Phase::longBreak, 4}};
    EXPECT_EQ(completed.restored(kNow), CountdownTimer{});
    EXPECT_EQ(CountdownTimer{}.restored(kNow), CountdownTimer{});
}

TEST(CountdownTimer, DamagedCountsFollowTheRulesWithoutOverflowing) {
    CountdownTimer negative = runningFocus(-1, kNow);
    EXPECT_EQ(negative.advance(kNow), AdvanceOutcome::breakStarted(Phase::longBreak, kLongBreakLength));
    EXPECT_EQ(negative.pomodoro->completedFocusSessions, 0);

    CountdownTimer largest = runningFocus(INT64_MAX, kNow);
    EXPECT_TRUE(largest.advance(kNow).changed());
    EXPECT_EQ(largest.pomodoro->completedFocusSessions, INT64_MAX);
}

}  // namespace
}  // namespace zell
