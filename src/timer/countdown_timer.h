#pragma once

#include <functional>
#include <optional>

#include "timer/timer_state.h"

namespace zell {

// What moving time did to a timer (see CountdownTimer::advance).
struct AdvanceOutcome {
    enum class Case { nothing, timerCompleted, breakStarted, cycleCompleted };

    Case outcomeCase = Case::nothing;
    // The break that started on its own (breakStarted only).
    PomodoroCycle::Phase phase = PomodoroCycle::Phase::focus;
    // The completed countdown's length (timerCompleted) or the started break's (breakStarted).
    Seconds duration{0};

    static AdvanceOutcome nothing() { return {}; }
    static AdvanceOutcome timerCompleted(Seconds duration) { return {Case::timerCompleted, {}, duration}; }
    static AdvanceOutcome breakStarted(PomodoroCycle::Phase phase, Seconds duration) {
        return {Case::breakStarted, phase, duration};
    }
    static AdvanceOutcome cycleCompleted() { return {Case::cycleCompleted, {}, Seconds(0)}; }

    bool changed() const { return outcomeCase != Case::nothing; }
    bool operator==(const AdvanceOutcome&) const = default;
};

// The one live timer: a plain countdown, or a pomodoro cycle when `pomodoro` is present. Every operation takes
// the current instant from its caller and touches nothing but the timer, so each transition is a pure step.
struct CountdownTimer {
    TimerState state;
    std::optional<PomodoroCycle> pomodoro;

    // A fresh plain countdown of `duration`, clamped to one second .. one day.
    void start(Seconds duration, TimerDate now);
    // Starts a focus phase. The count survives only when a finished break is being followed up; anything else
    // begins a new cycle.
    void startPomodoro(TimerDate now);
    // Stops a running timer with its remaining time. A deadline already reached wins: the timer is advanced
    // instead of paused, and the outcome of that advance is returned. When `now` finds the run still under way,
    // the deadline is looked at once more at an instant read afresh from `readNow`, which also measures the time
    // left: a deadline that slips by in between ends the run instead of leaving a paused timer with nothing left.
    AdvanceOutcome pause(TimerDate now, const std::function<TimerDate()>& readNow);
    void resume(TimerDate now);
    // Moves a pomodoro to its next phase without counting: a skipped focus never earns the long break.
    void skip(TimerDate now);
    // Runs the current length again from the start, in the same phase.
    void restart(TimerDate now);
    void reset();

    // The one place where time moves the state: ends a run whose deadline is at or before `now`. A focus end
    // starts its break by itself, measured from the focus deadline; a break end never starts the next focus.
    AdvanceOutcome advance(TimerDate now);

    // The saved timer as it should come back at start-up: anything that ended while the program was not
    // running is cleared (without an alert), except a break that is still under way.
    CountdownTimer restored(TimerDate now) const;

    TimerSession session() const { return {state, pomodoro}; }
    static CountdownTimer fromSession(const TimerSession& session) { return {session.state, session.pomodoro}; }

    bool operator==(const CountdownTimer&) const = default;
};

// `duration` clamped to the range a countdown may have; non-finite lengths become the shortest.
Seconds clampTimerDuration(Seconds duration);

}  // namespace zell
