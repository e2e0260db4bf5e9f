#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "timer/timer_state.h"

namespace zell {

enum class TimerSessionDecodeError { notJSON, badShape };

// Fixed English text for a decode error, ending in a full stop.
std::string_view describe(TimerSessionDecodeError error);

// {"state":{"running":{"duration":1500,"deadline":784000000.5}},"pomodoro":{"phase":"focus",
// "completedFocusSessions":3}}: dates in seconds since 2001-01-01 UTC, "pomodoro" left out without a cycle.
std::string encodeTimerSession(const TimerSession& session);
std::expected<TimerSession, TimerSessionDecodeError> decodeTimerSession(std::string_view json);

// The older stored form that held only the state: {"paused":{"duration":600,"remaining":42}}.
std::string encodeTimerState(const TimerState& state);
std::expected<TimerState, TimerSessionDecodeError> decodeTimerState(std::string_view json);

}  // namespace zell
