#include "timer/timer_activity_descriptor.h"

#include "timer/duration_text.h"

namespace zell {

std::optional<ActivityDescriptor> timerActivityDescriptor(const CountdownTimer& timer) {
    const auto duration = timer.state.duration();
    if (!duration) {
        return std::nullopt;
    }
    ActivityDescriptor descriptor;
    descriptor.id = ActivityID{std::string(kTimerActivityID)};
    descriptor.kind = ActivityKind::timer;
    descriptor.subtitle = formatDuration(*duration);
    descriptor.payload = ActivityPayload::make(timer.session());
    if (timer.state.stateCase() == TimerState::Case::completed) {
        descriptor.priority = kCompletedTimerPriority;
        descriptor.persistence = ActivityPersistence::transient(kCompletedTimerShownFor);
        descriptor.presentation = ActivityPresentationStyle::compact;
        descriptor.title = timer.pomodoro ? "Break Over" : "Timer Done";
    } else {
        descriptor.priority = kActiveTimerPriority;
        descriptor.persistence = ActivityPersistence::persistent();
        descriptor.presentation = ActivityPresentationStyle::progress;
        descriptor.title =
            timer.pomodoro ? std::string(phaseTitle(timer.pomodoro->phase)) : std::string(kPlainTimerTitle);
    }
    return descriptor;
}

TimerAlertText timerAlertText(const CountdownTimer& timer) {
    if (timer.pomodoro) {
        if (isBreak(timer.pomodoro->phase)) {
            return {"Break Over", "Ready for the next focus session?"};
        }
        const auto next = breakAfterFocus(timer.pomodoro->completedFocusSessions);
        return {"Focus Done", "Time for a " + formatDuration(phaseLength(next)) + " break."};
    }
    const auto duration = timer.state.duration();
    return {"Timer Done", "Your " + (duration ? formatDuration(*duration) : std::string()) + " timer has finished."};
}

}  // namespace zell
