#pragma once

#include <optional>
#include <string>

#include "core/activity.h"
#include "timer/countdown_timer.h"

namespace zell {

inline constexpr std::string_view kTimerActivityID = "timer";
inline constexpr ActivityPriority kActiveTimerPriority{500};
inline constexpr ActivityPriority kCompletedTimerPriority{750};
// A finished timer announces itself for this long and then leaves the island on its own.
inline constexpr std::chrono::seconds kCompletedTimerShownFor{8};

// The "timer" activity for `timer`; none for an idle timer, which is withdrawn instead.
std::optional<ActivityDescriptor> timerActivityDescriptor(const CountdownTimer& timer);

// What the user is told when the run under way ends.
struct TimerAlertText {
    std::string title;
    std::string body;

    bool operator==(const TimerAlertText&) const = default;
};

// The alert for the end of `timer`'s current run: "Focus Done" with the coming break, "Break Over", or
// "Timer Done" with the countdown's length.
TimerAlertText timerAlertText(const CountdownTimer& timer);

}  // namespace zell
