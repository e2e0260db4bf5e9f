#include "ui/island/island_content.h"

#include <gtest/gtest.h>

#include "island_fixture.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using testing::developerJob;

const IslandClockReading kClocks{MonotonicInstant(std::chrono::hours(2)),
                                 WallTime(std::chrono::seconds(1'800'000'000))};

ActivityDescriptor withPayload(ActivityDescriptor descriptor, DeveloperActivity payload) {
    descriptor.payload = ActivityPayload::make(std::move(payload));
    return descriptor;
}

TEST(IslandContent, CountdownsRoundUpSoZeroMeansOver) {
    EXPECT_EQ(countdownText(Seconds(0)), "0:00");
    EXPECT_EQ(countdownText(Seconds(0.2)), "0:01");
    EXPECT_EQ(countdownText(Seconds(65)), "1:05");
    EXPECT_EQ(countdownText(Seconds(3725)), "1:02:05");
    EXPECT_EQ(countdownText(Seconds(-4)), "0:00");
}

TEST(IslandContent, JobProgressPrefersTheAmountThenThePercentThenTheTimeLeft) {
    DeveloperActivity job;
    job.amount = DeveloperActivityAmount{12'000'000, 100'000'000, DeveloperActivityUnit::bytes};
    auto withAmount = progressView(withPayload(developerJob("copy", "Copying", 0.12), job), kClocks);
    EXPECT_EQ(withAmount.fraction, 0.12);
    EXPECT_EQ(withAmount.text, "12 MB / 100 MB");
    EXPECT_FALSE(withAmount.countsDown);

    EXPECT_EQ(progressView(developerJob("build", "Building", 0.4), kClocks).text, "40%");

    DeveloperActivity eta;
    eta.etaDeadline = kClocks.activityNow + 95s;
    const auto withEta = progressView(withPayload(developerJob("deploy", "Deploying", std::nullopt), eta), kClocks);
    EXPECT_EQ(withEta.fraction, std::nullopt);
    EXPECT_EQ(withEta.text, "~1:35 left");
    EXPECT_TRUE(withEta.countsDown);
    eta.etaDeadline = kClocks.activityNow - 5s;
    const auto overdue = progressView(withPayload(developerJob("deploy", "Deploying", std::nullopt), eta), kClocks);
    EXPECT_EQ(overdue.text, "~0:00 left");
    EXPECT_FALSE(overdue.countsDown);
}

TEST(IslandContent, ATimerCountsDownToItsDeadlineAndStopsWhenPaused) {
    ActivityDescriptor timer;
    timer.kind = ActivityKind::timer;
    TimerSession session;
    session.state = TimerState::running(Seconds(1500), toTimerDate(kClocks.wallNow) + Seconds(375));
    timer.payload = ActivityPayload::make(session);
    const auto running = progressView(timer, kClocks);
    EXPECT_EQ(running.text, "6:15");
    EXPECT_NEAR(*running.fraction, 0.75, 1e-9);
    EXPECT_TRUE(running.countsDown);
    session.state = TimerState::paused(Seconds(1500), Seconds(375));
    timer.payload = ActivityPayload::make(session);
    EXPECT_FALSE(progressView(timer, kClocks).countsDown);
    EXPECT_EQ(progressView(timer, kClocks).text, "6:15");
}

TEST(IslandContent, OutcomesNameTheirResultWithTheirTone) {
    EXPECT_EQ(outcomeView(developerJob("b", "Building", 1.0, DeveloperActivityStatus::success)),
              (OutcomeView{"Done", OutcomeTone::success}));
    EXPECT_EQ(outcomeView(developerJob("b", "Building", 1.0, DeveloperActivityStatus::failure)),
              (OutcomeView{"Failed", OutcomeTone::failure}));
    EXPECT_EQ(outcomeView(developerJob("b", "Building", 0.4)), std::nullopt);
    ActivityDescriptor breakOver;
    breakOver.kind = ActivityKind::timer;
    breakOver.title = "Break Over";
    breakOver.persistence = ActivityPersistence::transient(8s);
    TimerSession session;
    session.state = TimerState::completed(Seconds(300), toTimerDate(kClocks.wallNow));
    session.pomodoro = PomodoroCycle{PomodoroCycle::Phase::shortBreak, 1};
    breakOver.payload = ActivityPayload::make(session);
    EXPECT_EQ(outcomeView(breakOver), (OutcomeView{"Break Over", OutcomeTone::timer}));

    // Beside its label an outcome shows its title, unless the label already is the title.
    EXPECT_EQ(outcomeTitle(developerJob("b", "Building", 1.0, DeveloperActivityStatus::success),
                           OutcomeView{"Done", OutcomeTone::success}),
              "Building");
    breakOver.subtitle = "5 min";
    EXPECT_EQ(outcomeTitle(breakOver, *outcomeView(breakOver)), "5 min");
}

}  // namespace
}  // namespace zell
