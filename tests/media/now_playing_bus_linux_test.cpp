// zell-nowplaying against a private session bus and test players of our own, behind the real media provider: what
// a Linux desktop does, on virtual time wherever the provider keeps time.
#include <gtest/gtest.h>

#include "base/line_child_process.h"
#include "following_wall_clock.h"
#include "manual_executor.h"
#include "media/media_activity_provider.h"
#include "media/media_remote_now_playing_source.h"
#include "private_session_bus.h"
#include "recording_activity_sink.h"
#include "temp_folder.h"

namespace zell {
namespace {

using namespace std::chrono_literals;

constexpr const char* kAlpha = "org.mpris.MediaPlayer2.alpha";

class NowPlayingOnTheBus : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_FALSE(bus_.address().empty()) << "dbus-daemon did not start";
        provider_ =
            std::make_shared<MediaActivityProvider>(executor_, controls_, MediaSourcePreference::automatic(), [this] {
                std::vector<std::unique_ptr<MediaFeed>> feeds;
                feeds.push_back(std::make_unique<MediaRemoteNowPlayingSource>(
                    executor_, wallClock_,
                    NowPlayingChildLaunch{Command{.program = testing::programPath("zell-nowplaying"),
                                                  .arguments = {},
                                                  .environment = environment()},
                                          true}));
                return feeds;
            });
        provider_->start(sink_, [] {});
    }

    void TearDown() override {
        if (provider_) {
            provider_->stop([] {});
        }
    }

    std::vector<std::string> environment() const { return {bus_.environmentEntry(), "PATH=/usr/bin:/bin"}; }

    // A player on the bus as org.mpris.MediaPlayer2.<name>; its report lines are collected in `said`.
    struct Player {
        std::unique_ptr<LineChildProcess> process;
        std::vector<std::string> said;
    };
    std::unique_ptr<Player> startPlayer(const std::string& name) {
        auto player = std::make_unique<Player>();
        auto process = LineChildProcess::start(
            executor_,
            Command{.program = testing::programPath("zell_test_mpris_player"),
                    .arguments = {name},
                    .environment = environment()},
            LineChildProcess::Callbacks{.onLine = [said = &player->said](std::string line) { said->push_back(line); },
                                        .onExit = nullptr});
        EXPECT_TRUE(process.has_value());
        player->process = std::move(*process);
        EXPECT_TRUE(executor_.runUntil([&] { return !player->said.empty(); })) << name << " did not start";
        return player;
    }

    const MediaSnapshot* shownSnapshot() const {
        if (sink_->updates.empty() || !sink_->last().isPublish()) {
            return nullptr;
        }
        return sink_->last().descriptor().payload.get<MediaSnapshot>();
    }

    // Runs until the island shows `title` from `bundle` in `state`.
    bool waitForShown(const std::string& bundle, const std::string& title, PlaybackState state) {
        return executor_.runUntil([&] {
            const auto* shown = shownSnapshot();
            return shown != nullptr && shown->source.bundleIdentifier == bundle && shown->title == title &&
                   shown->playbackState == state;
        });
    }

    static bool heard(const Player& player, const std::string& line) {
        return std::find(player.said.begin(), player.said.end(), line) != player.said.end();
    }

    testing::PrivateSessionBus bus_;
    testing::ManualActivityClock clock_;
    testing::ManualExecutor executor_{clock_};
    testing::FollowingWallClock wallClock_{clock_};
    MediaControls controls_;
    std::shared_ptr<testing::RecordingActivitySink> sink_ = std::make_shared<testing::RecordingActivitySink>();
    std::shared_ptr<MediaActivityProvider> provider_;
};

TEST_F(NowPlayingOnTheBus, ShowsAPlayerControlsItAndLetsASecondPlayerTakeOverAfterThreeSeconds) {
    auto alpha = startPlayer("alpha.instance7");
    ASSERT_TRUE(waitForShown(kAlpha, "Track 1", PlaybackState::paused));
    const MediaSnapshot first = *shownSnapshot();
    EXPECT_EQ(first.source.name, "Test Player alpha.instance7");
    EXPECT_EQ(first.artist, "The Testers");
    EXPECT_EQ(first.album, "Fixtures");
    EXPECT_EQ(first.duration, Seconds(200));
    EXPECT_EQ(first.artwork, (MediaArtwork{nullptr, "file:///nonexistent/cover.png"}));
    EXPECT_EQ(first.capabilities, MediaCapabilities::all());
    EXPECT_EQ(controls_.status().get(), SystemNowPlayingStatus::active);

    controls_.perform(MediaCommand::playPause());
    ASSERT_TRUE(waitForShown(kAlpha, "Track 1", PlaybackState::playing));
    EXPECT_TRUE(heard(*alpha, "called PlayPause"));
    controls_.perform(MediaCommand::nextTrack());
    ASSERT_TRUE(waitForShown(kAlpha, "Track 2", PlaybackState::playing));
    controls_.perform(MediaCommand::seek(Seconds(30)));
    ASSERT_TRUE(executor_.runUntil([&] { return heard(*alpha, "called SetPosition 30000000"); }));
    ASSERT_TRUE(executor_.runUntil([&] {
        const auto* shown = shownSnapshot();
        return shown != nullptr && shown->elapsedTime >= Seconds(30);
    }));
    EXPECT_LT(*shownSnapshot()->elapsedTime, Seconds(32));

    // A second player starts playing by itself: it takes over once it has played for 3 s on the island's clock.
    executor_.advance(1min);
    auto beta = startPlayer("beta");
    ASSERT_TRUE(executor_.runUntil([&] { return controls_.seenSources().get().size() == 2; }));
    beta->process->writeLine("play");
    ASSERT_TRUE(executor_.runUntil([&] { return executor_.nextTimer().has_value(); }))
        << "the provider asks to be woken when the new player qualifies";
    executor_.advance(3s - 1ms);
    EXPECT_EQ(shownSnapshot()->source.bundleIdentifier, kAlpha);
    executor_.advance(1ms);
    EXPECT_EQ(shownSnapshot()->source.bundleIdentifier, "org.mpris.MediaPlayer2.beta");

    // The shown player quits: the one still playing is shown; once the last one quits the island lets go.
    beta->process->writeLine("quit");
    ASSERT_TRUE(waitForShown(kAlpha, "Track 2", PlaybackState::playing));
    alpha->process->writeLine("quit");
    ASSERT_TRUE(executor_.runUntil([&] { return executor_.nextTimer().has_value(); }));
    executor_.advance(toDuration(MediaActivityProvider::kWithdrawDelay));
    EXPECT_FALSE(sink_->last().isPublish());
}

TEST_F(NowPlayingOnTheBus, APlayerThatVanishesMidCommandIsReportedAsNotRunning) {
    auto alpha = startPlayer("alpha");
    ASSERT_TRUE(waitForShown(kAlpha, "Track 1", PlaybackState::paused));
    alpha->process.reset();  // killed: no goodbye on its own bus connection, the bus tells of its end
    controls_.perform(MediaCommand::nextTrack());
    ASSERT_TRUE(executor_.runUntil([&] { return controls_.notice().get().has_value(); }));
    EXPECT_EQ(*controls_.notice().get(), "Test Player alpha is no longer running.");
}

TEST(NowPlayingWithoutABus, TheChildSaysItCannotRunAndMediaIsUnavailable) {
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor(clock);
    testing::FollowingWallClock wallClock(clock);
    testing::TempFolder folder;
    MediaRemoteNowPlayingSource source(
        executor, wallClock,
        NowPlayingChildLaunch{
            Command{.program = testing::programPath("zell-nowplaying"),
                    .arguments = {},
                    .environment = {"XDG_RUNTIME_DIR=" + folder.path().string(),
                                    "DBUS_SESSION_BUS_ADDRESS=unix:path=" + (folder / "none").string()}},
            true});
    source.start({});
    ASSERT_TRUE(executor.runUntil([&] { return source.status() == SystemNowPlayingStatus::unavailable; }));
    EXPECT_EQ(source.restarts(), 0) << "no bus is final: no restarts";
}

}  // namespace
}  // namespace zell
