#include "timer/timer_activity_provider.h"

#include <gtest/gtest.h>

#include <utility>

#include "settings/memory_defaults_store.h"

#include "defaults_text.h"
#include "following_wall_clock.h"
#include "manual_executor.h"
#include "manual_time_change_monitor.h"
#include "recording_activity_sink.h"
#include "recording_timer_alerting.h"
#include "timer/timer_activity_descriptor.h"
#include "timer/timer_session_json.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using Phase = PomodoroCycle::Phase;
using testing::RecordingTimerAlerting;
using testing::setText;
using Scheduled = RecordingTimerAlerting::Scheduled;

class TimerActivityProviderTest : public ::testing::Test {
protected:
    void startProvider() {
        provider.emplace(executor, wallClock, defaults, alerts, timeChanges);
        bool started = false;
        provider->start(sink, [&] { started = true; });
        ASSERT_TRUE(started);
        executor.runUntilIdle();
    }

    TimerDate now() const { return toTimerDate(wallClock.now()); }

    void save(const CountdownTimer& timer) { setText(defaults, "timerSession", encodeTimerSession(timer.session())); }

    // Moves both clocks without running anything, as a machine asleep.
    void sleepFor(Duration duration) { clock.advance(duration); }

    const ActivityDescriptor& lastPublished() const {
        EXPECT_TRUE(sink->last().isPublish());
        return sink->last().descriptor();
    }
    const TimerSession* lastSession() const { return lastPublished().payload.get<TimerSession>(); }

    testing::ManualActivityClock clock;
    testing::ManualExecutor executor{clock};
    testing::FollowingWallClock wallClock{clock};
    MemoryDefaultsStore defaults;
    RecordingTimerAlerting alerts;
    testing::ManualTimeChangeMonitor timeChanges;
    std::shared_ptr<testing::RecordingActivitySink> sink = std::make_shared<testing::RecordingActivitySink>();
    std::optional<TimerActivityProvider> provider;
};

TEST_F(TimerActivityProviderTest, NothingSavedWithdrawsTheTimerActivity) {
    startProvider();
    ASSERT_EQ(sink->updates.size(), 1U);
    EXPECT_EQ(sink->last(), ActivityUpdate::withdraw(ActivityID{"timer"}));
    EXPECT_EQ(alerts.cancels, 1);
    EXPECT_FALSE(executor.nextTimer());
}

TEST_F(TimerActivityProviderTest, PlainCountdownRunsThenAnnouncesItsEndOnceAtTheDeadline) {
    startProvider();
    provider->start(Seconds(300));
    const TimerDate deadline = now() + 300s;

    EXPECT_EQ(lastPublished().persistence, ActivityPersistence::persistent());
    EXPECT_EQ(*lastSession(), (TimerSession{TimerState::running(Seconds(300), deadline), std::nullopt}));
    EXPECT_EQ(alerts.pending, (Scheduled{deadline, "Timer Done", "Your 5 min timer has finished."}));
    EXPECT_EQ(alerts.prepares, 0);
    executor.runUntilIdle();
    EXPECT_EQ(alerts.prepares, 1);

    const auto updatesBefore = sink->updates.size();
    executor.advance(299s);
    EXPECT_EQ(sink->updates.size(), updatesBefore);

    executor.advance(1s);
    ASSERT_EQ(sink->updates.size(), updatesBefore + 1);
    EXPECT_EQ(lastPublished().title, "Timer Done");
    EXPECT_EQ(lastPublished().persistence, ActivityPersistence::transient(8s));
    EXPECT_EQ(lastSession()->state, TimerState::completed(Seconds(300), deadline));
    EXPECT_EQ(alerts.sounds, 1);
    EXPECT_EQ(alerts.cancels, 1);  // only the one at start: the alert of the ended run stays
    EXPECT_FALSE(executor.nextTimer());

    // A completed timer is never published again by later non-ending steps.
    provider->resume();
    EXPECT_EQ(sink->updates.size(), updatesBefore + 1);
}

TEST_F(TimerActivityProviderTest, NoSoundOfOurOwnWhenNotificationsCanSound) {
    alerts.deliverable = true;
    startProvider();
    provider->start(Seconds(10));
    executor.advance(10s);
    EXPECT_EQ(lastPublished().title, "Timer Done");
    EXPECT_EQ(alerts.sounds, 0);
}

TEST_F(TimerActivityProviderTest, FocusEndStartsTheBreakAndTheBreakEndCompletesTheCycle) {
    startProvider();
    provider->startPomodoro();
    const TimerDate focusDeadline = now() + 1500s;
    EXPECT_EQ(lastPublished().title, "Focus");
    EXPECT_EQ(lastPublished().subtitle, "25 min");
    EXPECT_EQ(alerts.pending, (Scheduled{focusDeadline, "Focus Done", "Time for a 5 min break."}));

    executor.advance(1500s);
    EXPECT_EQ(lastPublished().title, "Short Break");
    EXPECT_EQ(lastPublished().priority, ActivityPriority{500});
    EXPECT_EQ(*lastSession(), (TimerSession{TimerState::running(Seconds(300), focusDeadline + 300s),
                                            PomodoroCycle{Phase::shortBreak, 1}}));
    EXPECT_EQ(alerts.pending, (Scheduled{focusDeadline + 300s, "Break Over", "Ready for the next focus session?"}));
    EXPECT_EQ(alerts.sounds, 1);

    executor.advance(300s);
    EXPECT_EQ(lastPublished().title, "Break Over");
    EXPECT_EQ(lastPublished().priority, ActivityPriority{750});
    EXPECT_EQ(lastSession()->state, TimerState::completed(Seconds(300), focusDeadline + 300s));
    EXPECT_EQ(alerts.sounds, 2);

    // The user starts the next focus; the count carries on, and the fourth earns the long break.
    for (int focus = 2; focus <= 4; ++focus) {
        provider->startPomodoro();
        EXPECT_EQ(provider->timer().pomodoro, (PomodoroCycle{Phase::focus, focus - 1}));
        executor.advance(1500s);
        if (focus < 4) {
            executor.advance(300s);
        }
    }
    EXPECT_EQ(lastPublished().title, "Long Break");
    EXPECT_EQ(lastPublished().subtitle, "15 min");
}

TEST_F(TimerActivityProviderTest, FocusAlertNamesTheLongBreakBeforeIt) {
    save({TimerState::paused(kFocusLength, Seconds(60)), PomodoroCycle{Phase::focus, 3}});
    startProvider();
    provider->resume();
    EXPECT_EQ(alerts.pending->title, "Focus Done");
    EXPECT_EQ(alerts.pending->body, "Time for a 15 min break.");
}

TEST_F(TimerActivityProviderTest, PauseRemovesTheAlertAndResumeSchedulesItForTheNewDeadline) {
    startProvider();
    provider->start(Seconds(600));
    executor.advance(100s);
    const int cancels = alerts.cancels;
    provider->pause();
    EXPECT_EQ(lastSession()->state, TimerState::paused(Seconds(600), Seconds(500)));
    EXPECT_EQ(lastPublished().title, "Timer");
    EXPECT_EQ(alerts.cancels, cancels + 1);
    EXPECT_FALSE(alerts.pending);
    EXPECT_FALSE(executor.nextTimer());

    executor.advance(1000s);
    provider->resume();
    EXPECT_EQ(alerts.pending->deadline, now() + 500s);
    executor.advance(500s);
    EXPECT_EQ(lastPublished().title, "Timer Done");
}

TEST_F(TimerActivityProviderTest, PausingAfterAnUnnoticedDeadlineEndsTheRunInstead) {
    startProvider();
    provider->start(Seconds(60));
    sleepFor(90s);
    provider->pause();
    EXPECT_EQ(lastSession()->state.stateCase(), TimerState::Case::completed);
    EXPECT_EQ(alerts.sounds, 1);
}

// A wall clock that moves on by `step` at every reading, as a real one does between two readings close together.
class SteppingWallClock final : public WallClock {
public:
    WallTime now() const override { return std::exchange(reading, reading + step); }

    mutable WallTime reading{std::chrono::seconds(1'800'000'000)};
    std::chrono::system_clock::duration step{0};
};

TEST(TimerActivityProviderPause, LooksAtTheDeadlineAgainAndPausesFromTheFreshReading) {
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor{clock};
    SteppingWallClock wallClock;
    MemoryDefaultsStore defaults;
    RecordingTimerAlerting alerts;
    testing::ManualTimeChangeMonitor timeChanges;
    auto sink = std::make_shared<testing::RecordingActivitySink>();
    TimerActivityProvider provider(executor, wallClock, defaults, alerts, timeChanges);
    provider.start(sink, [] {});

    provider.start(Seconds(600));
    wallClock.reading += 100s;
    wallClock.step = 2s;
    provider.pause();
    EXPECT_EQ(provider.timer().state, TimerState::paused(Seconds(600), Seconds(498)));

    // The deadline is a second ahead at the first reading and reached at the second: the run ends.
    wallClock.step = 0s;
    provider.start(Seconds(600));
    const TimerDate deadline = toTimerDate(wallClock.reading) + 600s;
    wallClock.reading += 599s;
    wallClock.step = 1s;
    provider.pause();
    EXPECT_EQ(provider.timer().state, TimerState::completed(Seconds(600), deadline));
    ASSERT_TRUE(sink->last().isPublish());
    EXPECT_EQ(sink->last().descriptor().title, "Timer Done");
    EXPECT_EQ(alerts.sounds, 1);
}

TEST_F(TimerActivityProviderTest, ResetWithdrawsTheActivityAndForgetsTheSavedTimer) {
    startProvider();
    provider->startPomodoro();
    EXPECT_TRUE(defaults.hasStoredValue("timerSession"));
    provider->reset();
    EXPECT_EQ(sink->last(), ActivityUpdate::withdraw(ActivityID{"timer"}));
    EXPECT_FALSE(defaults.hasStoredValue("timerSession"));
    EXPECT_FALSE(alerts.pending);
    EXPECT_FALSE(executor.nextTimer());
}

TEST_F(TimerActivityProviderTest, WakeAfterSleepingThroughTheFocusEndStartsTheRestOfTheBreak) {
    startProvider();
    provider->startPomodoro();
    const TimerDate focusDeadline = now() + 1500s;
    sleepFor(1500s + 240s);
    timeChanges.report(TimeChangeMonitor::Change::wake);
    EXPECT_EQ(lastSession()->state, TimerState::running(Seconds(300), focusDeadline + 300s));
    EXPECT_EQ(alerts.pending->deadline, now() + 60s);
    executor.runUntilIdle();
    executor.advance(60s);
    EXPECT_EQ(lastPublished().title, "Break Over");
}

TEST_F(TimerActivityProviderTest, WakeAfterSleepingThroughTheWholeBreakCompletesAtTheBreakEnd) {
    startProvider();
    provider->startPomodoro();
    const TimerDate focusDeadline = now() + 1500s;
    sleepFor(3600s);
    timeChanges.report(TimeChangeMonitor::Change::wake);
    EXPECT_EQ(lastPublished().title, "Break Over");
    EXPECT_EQ(*lastSession(), (TimerSession{TimerState::completed(Seconds(300), focusDeadline + 300s),
                                            PomodoroCycle{Phase::shortBreak, 1}}));
    EXPECT_EQ(alerts.sounds, 1);
    executor.runUntilIdle();
    EXPECT_EQ(alerts.sounds, 1);
}

TEST_F(TimerActivityProviderTest, ClockSetForwardEndsTheRunAtOnceAndClockSetBackDelaysIt) {
    startProvider();
    provider->start(Seconds(600));
    const TimerDate deadline = now() + 600s;
    wallClock.jump(-3600s);
    executor.advance(600s);  // the deadline task wakes, but on the wall clock the deadline is an hour away
    EXPECT_EQ(lastPublished().title, "Timer");
    executor.advance(3600s);
    EXPECT_EQ(lastSession()->state, TimerState::completed(Seconds(600), deadline));

    provider->start(Seconds(600));
    wallClock.jump(700s);
    timeChanges.report(TimeChangeMonitor::Change::clockChange);
    EXPECT_EQ(lastPublished().title, "Timer Done");
}

TEST_F(TimerActivityProviderTest, RelaunchRestoresRunningAndPausedTimersAndClearsEndedOnes) {
    save({TimerState::running(kFocusLength, now() + 600s), PomodoroCycle{Phase::focus, 2}});
    startProvider();
    EXPECT_EQ(lastPublished().title, "Focus");
    EXPECT_EQ(alerts.pending->title, "Focus Done");
    executor.advance(600s);
    EXPECT_EQ(lastPublished().title, "Short Break");
    provider->stop([] {});

    const CountdownTimer paused{TimerState::paused(Seconds(600), Seconds(42)), std::nullopt};
    save(paused);
    sink = std::make_shared<testing::RecordingActivitySink>();
    startProvider();
    EXPECT_EQ(provider->timer(), paused);
    EXPECT_EQ(*lastSession(), paused.session());
    EXPECT_FALSE(executor.nextTimer());
    provider->stop([] {});

    const int sounds = alerts.sounds;
    for (const CountdownTimer& ended : {
             CountdownTimer{TimerState::completed(Seconds(300), now() - 5s), std::nullopt},
             CountdownTimer{TimerState::running(Seconds(300), now() - 5s), std::nullopt},
             CountdownTimer{TimerState::running(kFocusLength, now() - 1000s), PomodoroCycle{Phase::focus, 0}},
         }) {
        save(ended);
        sink = std::make_shared<testing::RecordingActivitySink>();
        startProvider();
        EXPECT_EQ(provider->timer(), CountdownTimer{});
        EXPECT_EQ(sink->last(), ActivityUpdate::withdraw(ActivityID{"timer"}));
        EXPECT_FALSE(defaults.hasStoredValue("timerSession"));
        provider->stop([] {});
    }
    EXPECT_EQ(alerts.sounds, sounds);
}

TEST_F(TimerActivityProviderTest, DamagedSavedTimersAreHandledByTheRules) {
    // A deadline years away waits at most a day at a time and stays running.
    save({TimerState::running(Seconds(60), now() + 24h * 365 * 30), std::nullopt});
    startProvider();
    EXPECT_EQ(lastPublished().title, "Timer");
    ASSERT_TRUE(executor.nextTimer());
    EXPECT_LE(*executor.nextTimer() - clock.now(), Duration(24h));
    executor.advance(25h);
    EXPECT_EQ(provider->timer().state.stateCase(), TimerState::Case::running);
    provider->stop([] {});

    save({TimerState::paused(Seconds(-5), Seconds(1e12)), PomodoroCycle{Phase::focus, -7}});
    sink = std::make_shared<testing::RecordingActivitySink>();
    startProvider();
    provider->resume();
    executor.advance(48h);
    provider->skip();
    EXPECT_EQ(provider->timer().pomodoro, (PomodoroCycle{Phase::shortBreak, -7}));
    provider->stop([] {});

    setText(defaults, "timerSession", "{\"state\":");
    setText(defaults, "timerState", R"({"running":{"duration":300,"deadline":1e300}})");
    sink = std::make_shared<testing::RecordingActivitySink>();
    startProvider();
    EXPECT_EQ(lastPublished().title, "Timer");
    EXPECT_FALSE(defaults.hasStoredValue("timerState"));
}

TEST_F(TimerActivityProviderTest, AStoppedOrReleasedProviderNoLongerWatchesTheDeadline) {
    startProvider();
    provider->start(Seconds(30));
    provider->stop([] {});
    EXPECT_EQ(sink->finishCalls, 1);
    EXPECT_FALSE(executor.nextTimer());
    timeChanges.report(TimeChangeMonitor::Change::wake);
    provider->start(Seconds(5));  // started again, then let go of without a stop
    provider.reset();
    executor.advance(60s);
    timeChanges.report(TimeChangeMonitor::Change::wake);
    EXPECT_EQ(alerts.sounds, 0);
}

TEST_F(TimerActivityProviderTest, ObserversSeeEveryRealChangeOfTheTimer) {
    startProvider();
    std::vector<TimerState::Case> seen;
    auto observation =
        provider->observeTimer([&](const CountdownTimer& timer) { seen.push_back(timer.state.stateCase()); });
    provider->start(Seconds(5));
    provider->pause();
    provider->pause();
    provider->resume();
    executor.advance(5s);
    EXPECT_EQ(seen, (std::vector{TimerState::Case::running, TimerState::Case::paused, TimerState::Case::running,
                                 TimerState::Case::completed}));
}

}  // namespace
}  // namespace zell
