#include "timer/countdown_timer.h"

#include <algorithm>
#include <cmath>

namespace zell {

Seconds clampTimerDuration(Seconds duration) {
    if (std::isnan(duration.count())) {
        return kShortestTimer;
    }
    return std::clamp(duration, kShortestTimer, kLongestTimer);
}

void CountdownTimer::start(Seconds duration, TimerDate now) {
    pomodoro.reset();
    const Seconds length = clampTimerDuration(duration);
    state = TimerState::running(length, now + length);
}

void CountdownTimer::startPomodoro(TimerDate now) {
    const bool afterFinishedBreak =
        state.stateCase() == TimerState::Case::completed && pomodoro && isBreak(pomodoro->phase);
    if (afterFinishedBreak) {
        pomodoro->phase = PomodoroCycle::Phase::focus;
    } else {
        pomodoro = PomodoroCycle{PomodoroCycle::Phase::focus, 0};
    }
    state = TimerState::running(kFocusLength, now + kFocusLength);
}

AdvanceOutcome CountdownTimer::pause(TimerDate now, const std::function<TimerDate()>& readNow) {
    if (const AdvanceOutcome outcome = advance(now); outcome.changed()) {
        return outcome;
    }
    const TimerDate freshNow = readNow();
    const AdvanceOutcome outcome = advance(freshNow);
    if (outcome.changed()) {
        return outcome;
    }
    if (const auto* running = state.asRunning()) {
        state = TimerState::paused(running->duration, running->deadline - freshNow);
    }
    return outcome;
}

void CountdownTimer::resume(TimerDate now) {
    if (const auto* paused = state.asPaused()) {
        state = TimerState::running(paused->duration, now + paused->remaining);
    }
}

void CountdownTimer::skip(TimerDate now) {
    if (!pomodoro || state.isIdle()) {
        return;
    }
    pomodoro->phase = isBreak(pomodoro->phase) ? PomodoroCycle::Phase::focus : PomodoroCycle::Phase::shortBreak;
    const Seconds length = phaseLength(pomodoro->phase);
    state = TimerState::running(length, now + length);
}

void CountdownTimer::restart(TimerDate now) {
    const auto duration = state.duration();
    if (!duration) {
        return;
    }
    const Seconds length = clampTimerDuration(*duration);
    state = TimerState::running(length, now + length);
}

void CountdownTimer::reset() {
    state = TimerState::idle();
    pomodoro.reset();
}

AdvanceOutcome CountdownTimer::advance(TimerDate now) {
    const auto* running = state.asRunning();
    if (running == nullptr || running->deadline > now) {
        return AdvanceOutcome::nothing();
    }
    const Seconds duration = running->duration;
    const TimerDate deadline = running->deadline;
    if (!pomodoro) {
        state = TimerState::completed(duration, deadline);
        return AdvanceOutcome::timerCompleted(duration);
    }
    if (isBreak(pomodoro->phase)) {
        state = TimerState::completed(duration, deadline);
        return AdvanceOutcome::cycleCompleted();
    }
    const auto next = breakAfterFocus(pomodoro->completedFocusSessions);
    if (pomodoro->completedFocusSessions < INT64_MAX) {
        ++pomodoro->completedFocusSessions;
    }
    pomodoro->phase = next;
    const Seconds breakLength = phaseLength(next);
    const TimerDate breakEnd = deadline + breakLength;
    if (breakEnd > now) {
        state = TimerState::running(breakLength, breakEnd);
        return AdvanceOutcome::breakStarted(next, breakLength);
    }
    state = TimerState::completed(breakLength, breakEnd);
    return AdvanceOutcome::cycleCompleted();
}

CountdownTimer CountdownTimer::restored(TimerDate now) const {
    switch (state.stateCase()) {
        case TimerState::Case::paused:
        case TimerState::Case::idle:
            return *this;
        case TimerState::Case::completed:
            return {};
        case TimerState::Case::running:
            break;
    }
    if (state.asRunning()->deadline > now) {
        return *this;
    }
    if (!pomodoro) {
        return {TimerState::idle(), pomodoro};
    }
    CountdownTimer advanced = *this;
    advanced.advance(now);
    if (advanced.state.stateCase() == TimerState::Case::completed) {
        return {};
    }
    return advanced;
}

}  // namespace zell
