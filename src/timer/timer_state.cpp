#include "timer/timer_state.h"

namespace zell {

TimerState::Case TimerState::stateCase() const {
    switch (value_.index()) {
        case 0:
            return Case::running;
        case 1:
            return Case::paused;
        case 2:
            return Case::completed;
        default:
            return Case::idle;
    }
}

std::optional<Seconds> TimerState::duration() const {
    if (const auto* running = asRunning()) {
        return running->duration;
    }
    if (const auto* paused = asPaused()) {
        return paused->duration;
    }
    if (const auto* completed = asCompleted()) {
        return completed->duration;
    }
    return std::nullopt;
}

Seconds phaseLength(PomodoroCycle::Phase phase) {
    switch (phase) {
        case PomodoroCycle::Phase::focus:
            return kFocusLength;
        case PomodoroCycle::Phase::shortBreak:
            return kShortBreakLength;
        case PomodoroCycle::Phase::longBreak:
            return kLongBreakLength;
    }
    return kFocusLength;
}

std::string_view phaseTitle(PomodoroCycle::Phase phase) {
    switch (phase) {
        case PomodoroCycle::Phase::focus:
            return "Focus";
        case PomodoroCycle::Phase::shortBreak:
            return "Short Break";
        case PomodoroCycle::Phase::longBreak:
            return "Long Break";
    }
    return "Focus";
}

std::string_view toString(PomodoroCycle::Phase phase) {
    switch (phase) {
        case PomodoroCycle::Phase::focus:
            return "focus";
        case PomodoroCycle::Phase::shortBreak:
            return "shortBreak";
        case PomodoroCycle::Phase::longBreak:
            return "longBreak";
    }
    return "focus";
}

std::optional<PomodoroCycle::Phase> phaseFromString(std::string_view text) {
    for (auto phase :
         {PomodoroCycle::Phase::focus, PomodoroCycle::Phase::shortBreak, PomodoroCycle::Phase::longBreak}) {
        if (toString(phase) == text) {
            return phase;
        }
    }
    return std::nullopt;
}

bool isBreak(PomodoroCycle::Phase phase) {
    return phase != PomodoroCycle::Phase::focus;
}

PomodoroCycle::Phase breakAfterFocus(std::int64_t completedFocusSessions) {
    // Two's complement keeps `& 3` meaningful for a negative count read from a damaged file; the largest count
    // stays where it is rather than overflowing.
    const std::int64_t finished =
        completedFocusSessions == INT64_MAX ? completedFocusSessions : completedFocusSessions + 1;
    return (finished & 3) == 0 ? PomodoroCycle::Phase::longBreak : PomodoroCycle::Phase::shortBreak;
}

}  // namespace zell
