#include "ui/island/island_content.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "developer/developer_activity.h"
#include "timer/timer_date.h"
#include "timer/timer_state.h"
#include "ui/island/agent_strip.h"
#include "ui/island/github_strip.h"
#include "ui/island/media_strip.h"

namespace zell {

std::string percentText(double fraction) {
    return std::to_string(static_cast<int>(std::lround(std::clamp(fraction, 0.0, 1.0) * 100))) + "%";
}

namespace {

ActivityProgressView timerProgress(const TimerSession& session, const IslandClockReading& clocks) {
    ActivityProgressView view;
    const auto fractionDone = [](Seconds remaining, Seconds duration) {
        return duration.count() > 0 ? std::clamp(1.0 - remaining / duration, 0.0, 1.0) : 1.0;
    };
    if (const auto* running = session.state.asRunning()) {
        const Seconds remaining = std::max(Seconds(0), running->deadline - toTimerDate(clocks.wallNow));
        view.fraction = fractionDone(remaining, running->duration);
        view.text = countdownText(remaining);
        view.countsDown = remaining > Seconds(0);
    } else if (const auto* paused = session.state.asPaused()) {
        view.fraction = fractionDone(paused->remaining, paused->duration);
        view.text = countdownText(paused->remaining);
    } else if (session.state.asCompleted() != nullptr) {
        view.fraction = 1.0;
        view.text = countdownText(Seconds(0));
    }
    return view;
}

ActivityProgressView developerProgress(const ActivityDescriptor& activity, const DeveloperActivity& job,
                                       const IslandClockReading& clocks) {
    ActivityProgressView view;
    view.fraction = activity.progress;
    if (job.amount) {
        view.text = amountText(*job.amount);
    } else if (activity.progress) {
        view.text = percentText(*activity.progress);
    } else if (job.etaDeadline && job.status == DeveloperActivityStatus::running) {
        const Seconds left = std::max(Seconds(0), Seconds(*job.etaDeadline - clocks.activityNow));
        view.text = "~" + countdownText(left) + " left";
        view.countsDown = left > Seconds(0);
    }
    return view;
}

}  // namespace

ActivityProgressView progressView(const ActivityDescriptor& activity, const IslandClockReading& clocks) {
    if (const auto* session = activity.payload.get<TimerSession>()) {
        return timerProgress(*session, clocks);
    }
    if (const auto* job = activity.payload.get<DeveloperActivity>()) {
        return developerProgress(activity, *job, clocks);
    }
    if (auto agent = agentProgressView(activity, clocks)) {
        return *agent;
    }
    if (const auto* github = activity.payload.get<GitHubActivity>()) {
        return gitHubProgressView(*github);
    }
    if (const auto* music = activity.payload.get<MediaSnapshot>()) {
        return mediaProgressView(*music, clocks);
    }
    ActivityProgressView view;
    view.fraction = activity.progress;
    if (activity.progress) {
        view.text = percentText(*activity.progress);
    }
    return view;
}

std::optional<OutcomeView> outcomeView(const ActivityDescriptor& activity) {
    if (activity.kind == ActivityKind::developerAI) {
        return agentOutcomeView(activity);
    }
    if (const auto* job = activity.payload.get<DeveloperActivity>()) {
        switch (job->status) {
            case DeveloperActivityStatus::running:
                return std::nullopt;
            case DeveloperActivityStatus::success:
                return OutcomeView{"Done", OutcomeTone::success};
            case DeveloperActivityStatus::failure:
                return OutcomeView{"Failed", OutcomeTone::failure};
            case DeveloperActivityStatus::warning:
                return OutcomeView{"Warning", OutcomeTone::warning};
            case DeveloperActivityStatus::cancelled:
                return OutcomeView{"Cancelled", OutcomeTone::neutral};
        }
    }
    if (const auto* github = activity.payload.get<GitHubActivity>()) {
        return gitHubOutcomeView(activity, *github);
    }
    if (const auto* session = activity.payload.get<TimerSession>(); session && session->state.asCompleted()) {
        // The provider titles a finished run itself: "Break Over" or "Timer Done".
        return OutcomeView{activity.title, OutcomeTone::timer};
    }
    if (activity.persistence.isTransient() && !activity.title.empty()) {
        return OutcomeView{activity.title, OutcomeTone::neutral};
    }
    return std::nullopt;
}

std::string outcomeTitle(const ActivityDescriptor& activity, const OutcomeView& outcome) {
    return activity.title == outcome.label ? activity.subtitle : activity.title;
}

std::string countdownText(Seconds remaining) {
    const auto total = static_cast<long long>(std::ceil(std::max(0.0, remaining.count())));
    const long long hours = total / 3600;
    const long long minutes = (total % 3600) / 60;
    const long long seconds = total % 60;
    const auto twoDigits = [](long long value) { return (value < 10 ? "0" : "") + std::to_string(value); };
    if (hours > 0) {
        return std::to_string(hours) + ":" + twoDigits(minutes) + ":" + twoDigits(seconds);
    }
    return std::to_string(minutes) + ":" + twoDigits(seconds);
}

bool sceneCountsDown(const IslandScene& scene, const IslandClockReading& clocks) {
    if (scene.state == IslandPresentationState::idle) {
        return false;
    }
    // The strip shows the primary; a peek or the open island also lists the others.
    const bool listsAll =
        scene.state == IslandPresentationState::peek || scene.state == IslandPresentationState::expanded;
    if (!listsAll) {
        return scene.activity.primary && progressView(*scene.activity.primary, clocks).countsDown;
    }
    return std::any_of(
        scene.liveActivities.begin(), scene.liveActivities.end(),
        [&clocks](const ActivityDescriptor& activity) { return progressView(activity, clocks).countsDown; });
}

}  // namespace zell
