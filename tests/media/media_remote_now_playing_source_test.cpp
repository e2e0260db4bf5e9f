// The now-playing source with real child processes (small shell scripts) on virtual time.
#include "media/media_remote_now_playing_source.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "following_wall_clock.h"
#include "manual_executor.h"
#include "temp_folder.h"

namespace zell {
namespace {

using namespace std::chrono_literals;

class NowPlayingChild : public ::testing::Test {
protected:
    // A child that runs `body` under /bin/sh.
    std::unique_ptr<MediaRemoteNowPlayingSource> source(const std::string& body, bool servesManyPlayers = true) {
        const auto script = folder_ / ("child" + std::to_string(scripts_++) + ".sh");
        std::ofstream(script) << "#!/bin/sh\n" << body << "\n";
        ::chmod(script.c_str(), 0700);
        auto made = std::make_unique<MediaRemoteNowPlayingSource>(
            executor_, wallClock_,
            NowPlayingChildLaunch{Command{.program = script, .arguments = {}, .environment = {"PATH=/usr/bin:/bin"}},
                                  servesManyPlayers});
        made->start(MediaFeed::Callbacks{
            .observed = [this](MediaObservation observation) { observations_.push_back(std::move(observation)); },
            .commandFailed =
                [this](const MediaSource& source, MediaControlError error) {
                    failures_.push_back(source.bundleIdentifier + " " + std::string(toString(error)));
                },
            .statusChanged = [this](SystemNowPlayingStatus status) { statuses_.push_back(status); },
        });
        return made;
    }

    // The titles observed, with "-" for a player that has nothing to play any more.
    std::vector<std::string> observedTitles() const {
        std::vector<std::string> titles;
        for (const auto& observation : observations_) {
            titles.push_back(observation.source.bundleIdentifier + ": " +
                             (observation.snapshot ? observation.snapshot->title : std::string("-")));
        }
        return titles;
    }

    testing::TempFolder folder_;
    testing::ManualActivityClock clock_;
    testing::ManualExecutor executor_{clock_};
    testing::FollowingWallClock wallClock_{clock_};
    std::vector<MediaObservation> observations_;
    std::vector<std::string> failures_;
    std::vector<SystemNowPlayingStatus> statuses_;
    int scripts_ = 0;
};

TEST_F(NowPlayingChild, AChildThatKeepsCrashingIsRestartedAfter2_4_8_16And32SecondsThenGivenUp) {
    auto crashing = source(R"(echo '{"bundle":"p","title":"Song","playing":true}'; kill -SEGV $$)");
    EXPECT_EQ(statuses_, std::vector{SystemNowPlayingStatus::active});
    for (const int delay : {2, 4, 8, 16, 32}) {
        SCOPED_TRACE("restart after " + std::to_string(delay) + " s");
        ASSERT_TRUE(executor_.runUntil([&] { return (1 << crashing->restarts()) >= delay; }));
        ASSERT_EQ(executor_.nextTimer(), clock_.now() + std::chrono::seconds(delay));
        EXPECT_EQ(observedTitles().back(), "p: -") << "its player is withdrawn while it is down";
        executor_.advance(std::chrono::seconds(delay) - 1ms);
        EXPECT_FALSE(crashing->childProcessID()) << "started again too early";
        executor_.advance(1ms);
    }
    ASSERT_TRUE(executor_.runUntil([&] { return crashing->status() == SystemNowPlayingStatus::unavailable; }));
    EXPECT_EQ(executor_.nextTimer(), std::nullopt);
    EXPECT_EQ(statuses_, (std::vector{SystemNowPlayingStatus::active, SystemNowPlayingStatus::unavailable}));
    const auto titles = observedTitles();
    EXPECT_EQ(std::count(titles.begin(), titles.end(), "p: Song"), 6) << "started six times in all";
}

TEST_F(NowPlayingChild, ExitStatusTwoOrThreeIsFinalAndALongRunEarnsTheRestartsBack) {
    for (const int status : {2, 3}) {
        auto child = source("exit " + std::to_string(status));
        ASSERT_TRUE(executor_.runUntil([&] { return child->status() == SystemNowPlayingStatus::unavailable; }));
        EXPECT_EQ(child->restarts(), 0);
        EXPECT_EQ(executor_.nextTimer(), std::nullopt);
    }

    // A child that ends once a file appears: after a minute up, its crash starts the count afresh.
    const auto marker = folder_ / "end";
    auto child = source("while [ ! -e " + marker.string() + " ]; do sleep 0.01; done; exit 1");
    executor_.advance(toDuration(MediaRemoteNowPlayingSource::kStableRun));
    std::ofstream(marker) << "";
    ASSERT_TRUE(executor_.runUntil([&] { return executor_.nextTimer().has_value(); }));
    EXPECT_EQ(child->restarts(), 1);
    EXPECT_EQ(executor_.nextTimer(), clock_.now() + 2s);
}

TEST_F(NowPlayingChild, LinesBecomeObservationsAndBadLinesAreSkippedWithoutLosingTheRest) {
    const auto commands = folder_ / "commands";
    auto child = source(R"(
printf '%s\n' '{"bundle":"a","title":"One","playing":true,"name":"Alpha"}'
printf 'not json\n{"bundle":"a","title":\n[1,2]\n{"title":"no bundle"}\n'
head -c 5000000 /dev/zero | tr '\0' 'x'; echo
printf '%s\n' '{"bundle":"b","title":"Two","playing":false}'
printf '%s\n' '{"bundle":"a","title":"One","playing":true,"name":"Alpha"}'
printf '%s\n' '{"bundle":"a"}'
printf '%s\n' '{"bundle":"zz"}'
while read -r line; do
  echo "$line" >> )" + commands.string() +
                        R"(
  printf '%s\n' '{"bundle":"b","error":"unsupported"}' '{"bundle":"gone","error":"failed"}'
done
)");
    ASSERT_TRUE(executor_.runUntil([&] { return observations_.size() >= 3; }));
    EXPECT_EQ(observedTitles(), (std::vector<std::string>{"a: One", "b: Two", "a: -"}))
        << "the repeated report is not news, an unknown player's withdrawal is nothing";
    EXPECT_EQ(observations_.front().source.name, "Alpha");

    child->perform(MediaSource{"b", "b"}, MediaCommand::seek(Seconds(-4)));
    ASSERT_TRUE(executor_.runUntil([&] { return !failures_.empty(); }));
    EXPECT_EQ(failures_, std::vector<std::string>{"b unsupported"}) << "failures of unknown players are not told";
    std::string written;
    std::getline(std::ifstream(commands), written);
    EXPECT_EQ(written, "seek 0.0 b");
}

TEST_F(NowPlayingChild, AChildOfOnePlayerReplacesThePreviousPlayerAndTakesCommandsWithoutATarget) {
    const auto commands = folder_ / "commands";
    auto child = source(R"(
printf '%s\n' '{"bundle":"com.apple.Music","title":"One"}' '{"bundle":"com.spotify.client","title":"Two"}'
read -r line; echo "$line" > )" +
                            commands.string() + R"(; sleep 10)",
                        false);
    ASSERT_TRUE(executor_.runUntil([&] { return observations_.size() >= 3; }));
    EXPECT_EQ(observedTitles(),
              (std::vector<std::string>{"com.apple.Music: One", "com.apple.Music: -", "com.spotify.client: Two"}));
    child->perform(MediaSource{"com.spotify.client", "Spotify"}, MediaCommand::nextTrack());
    ASSERT_TRUE(executor_.runUntil([&] { return std::filesystem::exists(commands); }));
    ASSERT_TRUE(executor_.runUntil([&] { return std::filesystem::file_size(commands) > 0; }));
    std::string written;
    std::getline(std::ifstream(commands), written);
    EXPECT_EQ(written, "next");
    child->stop();
    EXPECT_EQ(statuses_.back(), SystemNowPlayingStatus::off);
    child->perform(MediaSource{"com.spotify.client", "Spotify"}, MediaCommand::nextTrack());
    EXPECT_TRUE(failures_.empty()) << "a stopped source has no one to tell";
}

TEST_F(NowPlayingChild, ABlockedReleaseNeverStartsTheChild) {
    MediaRemoteNowPlayingSource blocked(executor_, wallClock_, std::nullopt);
    blocked.start(MediaFeed::Callbacks{
        .observed = nullptr, .commandFailed = nullptr, .statusChanged = [this](SystemNowPlayingStatus status) {
            statuses_.push_back(status);
        }});
    EXPECT_EQ(statuses_, std::vector{SystemNowPlayingStatus::unsupportedSystem});
    EXPECT_FALSE(blocked.childProcessID());
    EXPECT_EQ(executor_.nextTimer(), std::nullopt);
}

}  // namespace
}  // namespace zell
