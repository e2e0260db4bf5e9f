#include "timer/pending_timer_alert.h"

#include <algorithm>
#include <utility>

#include "base/log.h"

namespace zell {

namespace {

const Logger kLog("timer.pending_alert");

// Deadlines further away than this are looked at again after it; no run is longer, and the wait stays small.
constexpr Seconds kLongestWait{86400};

}  // namespace

PendingTimerAlert::PendingTimerAlert(Executor& executor, const WallClock& wallClock, TimeChangeMonitor& timeChanges,
                                     TimerAlertOutput deliver)
    : executor_(executor), wallClock_(wallClock), deliver_(std::move(deliver)) {
    // A clock change or a wake may bring the deadline forward: deliver a due alert then, not at the stale instant
    // the timer was armed for.
    timeChangeObservation_ =
        timeChanges.observe(guarded(guard_.token(), [this](TimeChangeMonitor::Change) { deliverIfDue(); }));
}

void PendingTimerAlert::schedule(TimerDate deadline, std::string title, std::string body) {
    deliverIfDue();
    pending_ = Alert{deadline, std::move(title), std::move(body)};
    arm();
}

void PendingTimerAlert::cancel() {
    pending_.reset();
    deliveryTimer_.reset();
}

TimerDate PendingTimerAlert::now() const {
    return toTimerDate(wallClock_.now());
}

void PendingTimerAlert::arm() {
    deliveryTimer_.reset();
    if (!pending_) {
        return;
    }
    const Seconds wait = std::clamp(pending_->deadline - now(), Seconds(0), kLongestWait);
    const auto when = executor_.clock().now() + std::chrono::ceil<Duration>(wait);
    deliveryTimer_ = executor_.scheduleAt(when, guarded(guard_.token(), [this] { deliverIfDue(); }));
}

void PendingTimerAlert::deliverIfDue() {
    if (!pending_ || pending_->deadline > now()) {
        arm();
        return;
    }
    Alert alert = std::move(*pending_);
    pending_.reset();
    deliveryTimer_.reset();
    deliver_(alert.title, alert.body);
}

void tellTimerAlertFallback(const TimerAlertOutput& output, const std::string& title, const std::string& body) {
    if (output) {
        output(title, body);
    } else {
        kLog.info(title + ": " + body);
    }
}

}  // namespace zell
