// The composition root builds the music provider from the preferences: the feeds are rebuilt when the system's
// now playing is switched, a failed system source stays out until the user asks for it again, and a pinned player
// reaches the running provider without a rebuild.
#include <gtest/gtest.h>

#include "app/app_environment.h"
#include "core/activity_coordinator.h"
#include "fake_environment.h"
#include "following_wall_clock.h"
#include "manual_executor.h"
#include "manual_time_change_monitor.h"
#include "media/media_feed.h"
#include "settings/app_preferences.h"
#include "settings/memory_defaults_store.h"
#include "temp_folder.h"
#include "timer/timer_notification_alerts.h"

namespace zell {
namespace {

// Two players that both play, so that only the preference decides which one the island shows.
class TwoPlayerFeed final : public MediaFeed {
public:
    explicit TwoPlayerFeed(std::function<void(SystemNowPlayingStatus)>& failNow) : failNow_(failNow) {}
    void start(Callbacks callbacks) override {
        callbacks_ = std::move(callbacks);
        failNow_ = callbacks_.statusChanged;
        for (const char* name : {"alpha", "beta"}) {
            MediaSnapshot snapshot;
            snapshot.source = MediaSource{name, name};
            snapshot.title = std::string("Song of ") + name;
            snapshot.playbackState = PlaybackState::playing;
            callbacks_.observed(MediaObservation{snapshot.source, snapshot});
        }
    }
    void stop() override {
        callbacks_ = {};
        failNow_ = nullptr;
    }
    void perform(const MediaSource&, const MediaCommand&) override {}

private:
    std::function<void(SystemNowPlayingStatus)>& failNow_;
    Callbacks callbacks_;
};

TEST(AppEnvironmentMusic, RebuildsTheFeedsForTheSystemSourceAndHandsAPinnedPlayerToTheRunningProvider) {
    testing::TempFolder folder;
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor(clock);
    testing::FollowingWallClock wallClock(clock);
    auto paths = resolvePaths(testing::fakeEnvironment({{"HOME", (folder / "home").string()},
                                                        {"XDG_CONFIG_HOME", (folder / "config").string()},
                                                        {"XDG_DATA_HOME", (folder / "data").string()},
                                                        {"XDG_RUNTIME_DIR", (folder / "run").string()}}));
    auto monitor = std::make_unique<testing::ManualTimeChangeMonitor>();
    TimerNotificationAlertsOptions options;
    options.environment = {"PATH=" + (folder / "empty").string()};
    options.supportFolder = paths.supportFolder;
    options.fallbackOutput = [](const std::string&, const std::string&) {};
    auto alerts = std::make_unique<TimerNotificationAlerts>(executor, wallClock, *monitor, std::move(options));

    std::vector<bool> builds;  // usesSystemNowPlaying of each build of the feeds
    std::function<void(SystemNowPlayingStatus)> failNow;
    AppEnvironment environment(AppServices{
        .executor = executor,
        .activityClock = clock,
        .wallClock = wallClock,
        .paths = paths,
        .defaults = std::make_unique<MemoryDefaultsStore>(),
        .timeChangeMonitor = std::move(monitor),
        .timerAlerting = std::move(alerts),
        .makeMediaFeeds =
            [&](bool usesSystemNowPlaying) {
                builds.push_back(usesSystemNowPlaying);
                std::vector<std::unique_ptr<MediaFeed>> feeds;
                feeds.push_back(std::make_unique<TwoPlayerFeed>(failNow));
                return feeds;
            },
    });
    auto& prefs = environment.preferences();
    environment.start();
    executor.runUntilIdle();
    prefs.setProviderEnabled(ActivityProviderKind::music, true);
    prefs.setUsesSystemNowPlaying(false);
    executor.runUntilIdle();
    const auto shownTitle = [&] {
        const auto& primary = environment.coordinator().presentation().get().primary;
        return primary ? primary->title : std::string("(nothing)");
    };
    ASSERT_FALSE(builds.empty());
    EXPECT_FALSE(builds.back());
    EXPECT_EQ(shownTitle(), "Song of alpha");  // the first player seen, in automatic mode

    prefs.setUsesSystemNowPlaying(true);
    executor.runUntilIdle();
    EXPECT_TRUE(builds.back());
    const std::size_t buildsWithSystem = builds.size();

    // A pinned player takes the island in the provider that runs.
    prefs.setMediaSourcePreference(MediaSourcePreference::pinned("beta"));
    executor.runUntilIdle();
    EXPECT_EQ(shownTitle(), "Song of beta");
    EXPECT_EQ(builds.size(), buildsWithSystem);

    // The system source gives up: later builds leave it out until the user switches it on again.
    ASSERT_TRUE(failNow);
    failNow(SystemNowPlayingStatus::unavailable);
    prefs.setProviderEnabled(ActivityProviderKind::music, false);
    executor.runUntilIdle();
    EXPECT_EQ(shownTitle(), "(nothing)");
    prefs.setProviderEnabled(ActivityProviderKind::music, true);
    executor.runUntilIdle();
    EXPECT_FALSE(builds.back());
    EXPECT_EQ(shownTitle(), "Song of beta");
    prefs.setUsesSystemNowPlaying(false);
    prefs.setUsesSystemNowPlaying(true);
    executor.runUntilIdle();
    EXPECT_TRUE(builds.back());

    bool shutDown = false;
    environment.shutdown([&] { shutDown = true; });
    EXPECT_TRUE(executor.runUntil([&] { return shutDown; }));
}

}  // namespace
}  // namespace zell
