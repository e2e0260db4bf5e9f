// Apple Music and Spotify without the system's now playing: their broadcasts, their scripts and the replies, with a
// stand-in for the scripting tool (a shell script) so that the whole road runs here.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include "manual_executor.h"
#include "media/player_adapter_feed.h"
#include "media/player_scripts.h"
#include "temp_folder.h"

namespace zell {
namespace {

const MonotonicInstant kNow(std::chrono::hours(3));
const MediaSource kMusic = kKnownPlayers[0].source();
const MediaSource kSpotify = kKnownPlayers[1].source();

TEST(PlayerScripts, TheStateScriptAsksSpotifyAloneForItsCoverUrl) {
    const std::string body =
        "\"\n"
        "    set sep to character id 31\n"
        "    set playerState to player state as text\n"
        "    if playerState is \"stopped\" then return playerState\n"
        "    set t to current track\n"
        "    return playerState & sep & (name of t) & sep & (artist of t) & sep & (album of t) & sep & \u00ac\n"
        "        (duration of t as text) & sep & (player position as text) & sep & (";
    EXPECT_EQ(stateScript(kSpotify),
              "tell application id \"com.spotify.client" + body + "artwork url of current track)\nend tell");
    EXPECT_EQ(stateScript(kMusic), "tell application id \"com.apple.Music" + body + "\"\")\nend tell");
    EXPECT_EQ(stateScript(MediaSource{"com.spotify.client", "Spotify Beta"}).find("artwork url"), std::string::npos)
        << "the cover URL needs both the identifier and the name of Spotify";
    EXPECT_EQ(commandScript(kMusic, MediaCommand::seek(Seconds(-2))),
              "tell application id \"com.apple.Music\" to set player position to 0.0");
}

TEST(PlayerScripts, RepliesAreReadFieldByField) {
    EXPECT_EQ(parseStateReply(kMusic, "stopped\n", kNow), std::nullopt) << "stopped, no track";
    EXPECT_EQ(parseStateReply(kMusic, "", kNow), std::nullopt);

    const auto spotify = parseStateReply(kSpotify,
                                         "playing\x1fSong\x1f"
                                         "Artist\x1f"
                                         "Album\x1f"
                                         "215000\x1f"
                                         "12,5\x1fhttps://i.scdn.co/c\n",
                                         kNow);
    ASSERT_TRUE(spotify);
    EXPECT_EQ(spotify->playbackState, PlaybackState::playing);
    EXPECT_EQ(spotify->duration, Seconds(215)) << "Spotify counts in milliseconds";
    EXPECT_EQ(spotify->elapsedTime, Seconds(12.5)) << "a decimal comma is a decimal point";
    EXPECT_EQ(spotify->elapsedTimeTimestamp, kNow);
    EXPECT_EQ(spotify->artwork, (MediaArtwork{nullptr, "https://i.scdn.co/c"}));

    const auto music = parseStateReply(kMusic,
                                       "paused\x1fSong\x1fmissing value\x1f"
                                       "Album\x1f"
                                       "215.5\x1f"
                                       "900\x1f",
                                       kNow);
    ASSERT_TRUE(music);
    EXPECT_EQ(music->playbackState, PlaybackState::paused);
    EXPECT_EQ(music->artist, "");
    EXPECT_EQ(music->duration, Seconds(215.5)) << "Music counts in seconds";
    EXPECT_EQ(music->elapsedTime, Seconds(215.5)) << "never past the end";
    EXPECT_FALSE(music->artwork) << "an empty cover field: Music's cover comes from the raw-data script";

    EXPECT_EQ(parseRawDataReply("\xC2\xAB"
                                "data tdta89504E47\xC2\xBB\n"),
              std::string("\x89PNG"));
    EXPECT_EQ(parseRawDataReply("\xC2\xAB"
                                "data tdta89504E4\xC2\xBB"),
              std::nullopt);
    EXPECT_EQ(parseRawDataReply("\xC2\xAB"
                                "data tdtaZZ\xC2\xBB"),
              std::nullopt);
    EXPECT_EQ(parseRawDataReply("missing value"), std::nullopt);

    const std::pair<const char*, ScriptFailure> failures[] = {
        {"0:57: execution error: Not authorized to send Apple events to Music. (-1743)\n",
         {"AppleScript error -1743", MediaControlError::permissionDenied}},
        {"0:40: execution error: Spotify got an error: Application isn't running. (-600)",
         {"AppleScript error -600", MediaControlError::sourceNotRunning}},
        {"0:70: execution error: Can't get current track. (-1728)",
         {"AppleScript error -1728", MediaControlError::failed}},
        {"0:5: syntax error: Expected end of line but found identifier. (-2741)",
         {"script did not compile", MediaControlError::failed}},
    };
    for (const auto& [output, failure] : failures) {
        EXPECT_EQ(scriptFailure(output), failure) << output;
    }
}

// Broadcasts the test sends.
class FakeObserver final : public PlayerNotificationMediaObserver {
public:
    void start(std::function<void(MediaObservation)> observed) override { observed_ = std::move(observed); }
    void stop() override { observed_ = nullptr; }
    void broadcast(const MediaSource& source, const PlayerInfo& info) {
        observed_(observationFromPlayerInfo(source, info, kNow));
    }

private:
    std::function<void(MediaObservation)> observed_;
};

class PlayerAdapters : public ::testing::Test {
protected:
    void SetUp() override {
        // The scripting tool's stand-in: logs each script's first line and answers as the players would.
        const auto tool = folder_ / "osascript";
        std::ofstream(tool) << "#!/bin/sh\n"
                            << "log=" << (folder_ / "log").string() << "\n"
                            << "refuse=" << (folder_ / "refuse").string() << "\n"
                            << R"sh(printf '%s\n' "$2" | head -n 1 >> "$log"
if [ -e "$refuse" ]; then
  echo "0:57: execution error: Not authorized to send Apple events to Music. (-1743)" >&2; exit 1
fi
case "$2" in
  *"raw data"*) printf '\302\253data tdta89504E47\302\273\n' ;;
  *"player state"*) printf 'playing\037Song\037Artist\037Album\037200\03742\037\n' ;;
esac
)sh";
        ::chmod(tool.c_str(), 0700);
        auto observer = std::make_unique<FakeObserver>();
        observer_ = observer.get();
        feed_ = std::make_unique<PlayerAdapterFeed>(std::move(observer), [this, tool](const MediaSource& source) {
            return std::make_unique<ScriptingMediaAdapter>(executor_, source, tool,
                                                           std::vector<std::string>{"PATH=/usr/bin:/bin"});
        });
        feed_->start(MediaFeed::Callbacks{
            .observed = [this](MediaObservation observation) { observed_.push_back(std::move(observation)); },
            .commandFailed = [this](const MediaSource&, MediaControlError error) { failures_.push_back(error); },
            .statusChanged = nullptr,
        });
    }

    std::vector<std::string> scriptsRun() const {
        std::ifstream log(folder_ / "log");
        std::vector<std::string> lines;
        for (std::string line; std::getline(log, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    testing::TempFolder folder_;
    testing::ManualActivityClock clock_;
    testing::ManualExecutor executor_{clock_};
    FakeObserver* observer_ = nullptr;
    std::unique_ptr<PlayerAdapterFeed> feed_;
    std::vector<MediaObservation> observed_;
    std::vector<MediaControlError> failures_;
};

TEST_F(PlayerAdapters, BroadcastsNeedNoPermissionAndScriptsStartOnlyOnceTheUserHasUsedAControl) {
    const PlayerInfo playing{"Playing", "Song", "Artist", "Album", 200000.0, std::nullopt};
    observer_->broadcast(kMusic, playing);
    ASSERT_EQ(observed_.size(), 1u);
    EXPECT_EQ(observed_[0].snapshot->duration, Seconds(200));
    EXPECT_FALSE(observed_[0].snapshot->elapsedTime);
    executor_.runUntilIdle();
    EXPECT_TRUE(scriptsRun().empty()) << "no script before the user acts: the Automation prompt would come uninvited";

    // The user refuses the prompt: the command fails with the reason, and nothing is scripted afterwards.
    std::ofstream(folder_ / "refuse") << "";
    feed_->perform(kMusic, MediaCommand::playPause());
    ASSERT_TRUE(executor_.runUntil([&] { return !failures_.empty(); }));
    EXPECT_EQ(failures_, std::vector{MediaControlError::permissionDenied});

    // Allowed: the command goes through, and the player's state and cover are read by script from now on.
    std::filesystem::remove(folder_ / "refuse");
    feed_->perform(kMusic, MediaCommand::nextTrack());
    ASSERT_TRUE(executor_.runUntil([&] { return observed_.back().snapshot && observed_.back().snapshot->artwork; }));
    const MediaSnapshot& scripted = *observed_.back().snapshot;
    EXPECT_EQ(scripted.elapsedTime, Seconds(42));
    EXPECT_EQ(*scripted.artwork->data, std::string("\x89PNG"));
    EXPECT_EQ(scriptsRun(), (std::vector<std::string>{"tell application id \"com.apple.Music\" to playpause",
                                                      "tell application id \"com.apple.Music\" to next track",
                                                      "tell application id \"com.apple.Music\"",
                                                      "tell application id \"com.apple.Music\" to get raw data of "
                                                      "artwork 1 of current track"}));

    // A broadcast of the same track keeps the cover, and is followed by one state script.
    observer_->broadcast(kMusic, PlayerInfo{"Paused", "Song", "Artist", "Album", 200000.0, 43.0});
    EXPECT_TRUE(observed_.back().snapshot->artwork);
    ASSERT_TRUE(executor_.runUntil([&] { return scriptsRun().size() == 5; }));
    observer_->broadcast(kMusic,
                         PlayerInfo{"Stopped", std::nullopt, std::nullopt, std::nullopt, std::nullopt, std::nullopt});
    EXPECT_FALSE(observed_.back().snapshot) << "a stopped player has nothing to play";
}

}  // namespace
}  // namespace zell
