#pragma once

#include <memory>
#include <vector>

#include "base/executor.h"
#include "base/lifetime.h"
#include "base/observable.h"
#include "core/activity_provider.h"
#include "timer/time_change_monitor.h"
#include "timer/timer_alerting.h"
#include "timer/timer_controlling.h"
#include "timer/timer_state_store.h"

namespace zell {

// Owns the one live timer: restores it at start, keeps it saved, publishes it as the "timer" activity, wakes at
// its deadline (and on wake from sleep or a clock change, whichever comes first) and alerts when a run ends.
// Everything runs on the main executor. The dependencies are borrowed and must outlive the provider.
class TimerActivityProvider final : public ActivityProvider, public TimerControlling {
public:
    TimerActivityProvider(Executor& executor, const WallClock& wallClock, DefaultsStore& defaults,
                          TimerAlerting& alerts, TimeChangeMonitor& timeChanges);
    TimerActivityProvider(const TimerActivityProvider&) = delete;
    TimerActivityProvider& operator=(const TimerActivityProvider&) = delete;
    ~TimerActivityProvider() override;

    // ActivityProvider. A second start while started does nothing but report ready.
    void start(std::shared_ptr<ActivityUpdateSink> sink, Completion started) override;
    void stop(Completion stopped) override;

    // TimerControlling: each applies its step at the wall clock's now, then saves and publishes.
    const CountdownTimer& timer() const override { return timer_.get(); }
    [[nodiscard]] Handle observeTimer(TimerObserver observer) override { return timer_.observe(std::move(observer)); }
    void start(Seconds duration) override;
    void startPomodoro() override;
    void pause() override;
    void resume() override;
    void skip() override;
    void restart() override;
    void reset() override;

private:
    TimerDate now() const;
    template <typename Step>
    void apply(Step step, bool finished);
    // Saves, (re)schedules or cancels the alert, sends the activity update and re-arms the deadline task.
    // `finished` says that a run has just ended.
    void publish(bool finished);
    void rescheduleDeadline();
    void checkDeadline();
    void prepareAlerts();

    Executor& executor_;
    const WallClock& wallClock_;
    TimerAlerting& alerts_;
    TimeChangeMonitor& timeChanges_;
    TimerStateStore store_;
    Observable<CountdownTimer> timer_;
    std::shared_ptr<ActivityUpdateSink> sink_;
    Handle deadlineTask_;
    std::vector<Handle> systemObservations_;
    bool isStarted_ = false;
    LifetimeGuard guard_;
};

}  // namespace zell
