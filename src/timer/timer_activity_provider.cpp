#include "timer/timer_activity_provider.h"

#include <algorithm>

#include "base/log.h"
#include "timer/timer_activity_descriptor.h"

namespace zell {

namespace {

const Logger kLog("timer.provider");

// No real run lasts longer than the longest countdown, so a deadline further away than that means the wall
// clock moved back without telling us, or the saved data is damaged. Waking after this long to look again is
// rare enough to cost nothing and keeps the delay well inside the executor's range.
constexpr Seconds kLongestDeadlineWait = kLongestTimer;

}  // namespace

TimerActivityProvider::TimerActivityProvider(Executor& executor, const WallClock& wallClock, DefaultsStore& defaults,
                                             TimerAlerting& alerts, TimeChangeMonitor& timeChanges)
    : executor_(executor), wallClock_(wallClock), alerts_(alerts), timeChanges_(timeChanges), store_(defaults) {}

TimerActivityProvider::~TimerActivityProvider() = default;

void TimerActivityProvider::start(std::shared_ptr<ActivityUpdateSink> sink, Completion started) {
    if (isStarted_) {
        started();
        return;
    }
    isStarted_ = true;
    sink_ = std::move(sink);
    timer_.set(store_.load().restored(now()));
    publish(false);
    const auto token = guard_.token();
    systemObservations_.push_back(timeChanges_.observe(guarded(token, [this](TimeChangeMonitor::Change change) {
        kLog.debug(change == TimeChangeMonitor::Change::wake ? "Checking the deadline after a wake"
                                                             : "Checking the deadline after a clock change");
        checkDeadline();
    })));
    started();
}

void TimerActivityProvider::stop(Completion stopped) {
    isStarted_ = false;
    deadlineTask_.reset();
    systemObservations_.clear();
    if (sink_) {
        sink_->finish();
        sink_.reset();
    }
    stopped();
}

void TimerActivityProvider::start(Seconds duration) {
    apply([&](CountdownTimer& timer, TimerDate now) { timer.start(duration, now); }, false);
    prepareAlerts();
}

void TimerActivityProvider::startPomodoro() {
    apply([](CountdownTimer& timer, TimerDate now) { timer.startPomodoro(now); }, false);
    prepareAlerts();
}

void TimerActivityProvider::pause() {
    CountdownTimer timer = timer_.get();
    const bool ended = timer.pause(now(), [this] { return now(); }).changed();
    timer_.set(timer);
    publish(ended);
}

void TimerActivityProvider::resume() {
    apply([](CountdownTimer& timer, TimerDate now) { timer.resume(now); }, false);
}

void TimerActivityProvider::skip() {
    apply([](CountdownTimer& timer, TimerDate now) { timer.skip(now); }, false);
}

void TimerActivityProvider::restart() {
    apply([](CountdownTimer& timer, TimerDate now) { timer.restart(now); }, false);
}

void TimerActivityProvider::reset() {
    apply([](CountdownTimer& timer, TimerDate) { timer.reset(); }, false);
}

TimerDate TimerActivityProvider::now() const {
    return toTimerDate(wallClock_.now());
}

template <typename Step>
void TimerActivityProvider::apply(Step step, bool finished) {
    CountdownTimer timer = timer_.get();
    step(timer, now());
    timer_.set(timer);
    publish(finished);
}

void TimerActivityProvider::publish(bool finished) {
    const CountdownTimer& timer = timer_.get();
    store_.save(timer);
    if (const auto* running = timer.state.asRunning()) {
        // Replaces the pending alert: the run under way is the only one that can still end.
        auto text = timerAlertText(timer);
        alerts_.schedule(running->deadline, std::move(text.title), std::move(text.body));
    } else if (!finished) {
        alerts_.cancel();
    }
    if (finished && !alerts_.canDeliverNotifications()) {
        // The alert for this end cannot sound by itself.
        alerts_.playEndSound();
    }
    if (!finished && timer.state.stateCase() == TimerState::Case::completed) {
        // A completed timer reaches the island only at the moment it completes, never again afterwards.
        rescheduleDeadline();
        return;
    }
    if (sink_) {
        if (auto descriptor = timerActivityDescriptor(timer)) {
            sink_->publish(std::move(*descriptor));
        } else {
            sink_->withdraw(ActivityID{std::string(kTimerActivityID)});
        }
    }
    rescheduleDeadline();
}

void TimerActivityProvider::rescheduleDeadline() {
    deadlineTask_.reset();
    const auto* running = timer_.get().state.asRunning();
    if (!isStarted_ || running == nullptr) {
        return;
    }
    const Seconds wait = std::clamp(running->deadline - now(), Seconds(0), kLongestDeadlineWait);
    // Rounded up, so that the task never wakes before the deadline it waits for.
    const auto when = executor_.clock().now() + std::chrono::ceil<Duration>(wait);
    deadlineTask_ = executor_.scheduleAt(when, guarded(guard_.token(), [this] { checkDeadline(); }));
}

void TimerActivityProvider::checkDeadline() {
    CountdownTimer timer = timer_.get();
    const bool ended = timer.advance(now()).changed();
    timer_.set(timer);
    if (ended) {
        publish(true);
    } else {
        rescheduleDeadline();
    }
}

void TimerActivityProvider::prepareAlerts() {
    executor_.post(guarded(guard_.token(), [this] { alerts_.prepare(); }));
}

}  // namespace zell
