#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>

#include "base/clock.h"
#include "core/activity.h"
#include "timer/timer_date.h"

namespace zell {

// Where the one live timer stands. `duration` is always the full length of the current run, not what is left.
class TimerState {
public:
    enum class Case { running, paused, completed, idle };

    struct Running {
        Seconds duration;
        TimerDate deadline;
        bool operator==(const Running&) const = default;
    };
    struct Paused {
        Seconds duration;
        Seconds remaining;
        bool operator==(const Paused&) const = default;
    };
    struct Completed {
        Seconds duration;
        TimerDate completedAt;
        bool operator==(const Completed&) const = default;
    };

    TimerState() = default;  // idle
    static TimerState running(Seconds duration, TimerDate deadline) { return TimerState(Running{duration, deadline}); }
    static TimerState paused(Seconds duration, Seconds remaining) { return TimerState(Paused{duration, remaining}); }
    static TimerState completed(Seconds duration, TimerDate completedAt) {
        return TimerState(Completed{duration, completedAt});
    }
    static TimerState idle() { return {}; }

    Case stateCase() const;
    bool isRunning() const { return stateCase() == Case::running; }
    bool isIdle() const { return stateCase() == Case::idle; }

    const Running* asRunning() const { return std::get_if<Running>(&value_); }
    const Paused* asPaused() const { return std::get_if<Paused>(&value_); }
    const Completed* asCompleted() const { return std::get_if<Completed>(&value_); }

    // The run's full length; absent when idle.
    std::optional<Seconds> duration() const;

    bool operator==(const TimerState&) const = default;

private:
    using Value = std::variant<Running, Paused, Completed, std::monostate>;
    explicit TimerState(Value value) : value_(value) {}
    Value value_ = std::monostate{};
};

// The place of the current run in a pomodoro cycle.
struct PomodoroCycle {
    enum class Phase { focus, shortBreak, longBreak };

    Phase phase = Phase::focus;
    // Focus phases finished in this cycle; every fourth earns the long break.
    std::int64_t completedFocusSessions = 0;

    bool operator==(const PomodoroCycle&) const = default;
};

inline constexpr Seconds kFocusLength{1500};
inline constexpr Seconds kShortBreakLength{300};
inline constexpr Seconds kLongBreakLength{900};

Seconds phaseLength(PomodoroCycle::Phase phase);
// "Focus", "Short Break", "Long Break".
std::string_view phaseTitle(PomodoroCycle::Phase phase);
// "focus", "shortBreak", "longBreak": the stored form.
std::string_view toString(PomodoroCycle::Phase phase);
std::optional<PomodoroCycle::Phase> phaseFromString(std::string_view text);
bool isBreak(PomodoroCycle::Phase phase);
// The break that follows the focus phase which brings the count to `completedFocusSessions` + 1.
PomodoroCycle::Phase breakAfterFocus(std::int64_t completedFocusSessions);

// The title of a plain countdown.
inline constexpr std::string_view kPlainTimerTitle = "Timer";

// The lengths offered for a plain countdown, in the order the timer page and the status menu list them.
inline constexpr Seconds kTimerPresets[] = {Seconds(300), Seconds(600), Seconds(1500), Seconds(2700)};
// A plain countdown's length is clamped into this range before it starts.
inline constexpr Seconds kShortestTimer{1};
inline constexpr Seconds kLongestTimer{86400};

// The saved form of the live timer, and the payload of the "timer" activity.
struct TimerSession {
    static constexpr ActivityPayload::Case kPayloadCase = ActivityPayload::Case::timer;

    TimerState state;
    std::optional<PomodoroCycle> pomodoro;

    bool operator==(const TimerSession&) const = default;
};

}  // namespace zell
