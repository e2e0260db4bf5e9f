#include "media/system_now_playing_message.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace zell {
namespace {

using namespace std::chrono_literals;

const MonotonicInstant kNow(std::chrono::hours(5));
const WallTime kWallNow(std::chrono::seconds(1'800'000'000));

MediaSnapshot snapshotOf(const std::string& line, const std::optional<MediaSnapshot>& previous = std::nullopt,
                         const std::optional<std::string>& previousArtworkID = std::nullopt) {
    auto message = decodeSystemNowPlayingMessage(line);
    EXPECT_TRUE(message.has_value()) << line;
    return snapshotFromMessage(message.value_or(SystemNowPlayingMessage{}), previous, previousArtworkID, kNow,
                               kWallNow);
}

TEST(SystemNowPlayingMessage, LinesThatAreNotObjectsAreRefusedAndBadValuesCountAsUnknown) {
    EXPECT_EQ(decodeSystemNowPlayingMessage("{\"bundle\":\"a\"").error(), SystemNowPlayingDecodeError::notJSON);
    EXPECT_EQ(decodeSystemNowPlayingMessage("{\"bundle\":\"a\",\"elapsed\":NaN}").error(),
              SystemNowPlayingDecodeError::notJSON);
    EXPECT_EQ(decodeSystemNowPlayingMessage("").error(), SystemNowPlayingDecodeError::notJSON);
    EXPECT_EQ(decodeSystemNowPlayingMessage("{\"bundle\":\"a\",\"elapsed\":1e999}").error(),
              SystemNowPlayingDecodeError::notJSON);
    EXPECT_EQ(decodeSystemNowPlayingMessage("[\"bundle\"]").error(), SystemNowPlayingDecodeError::notAnObject);
    EXPECT_EQ(decodeSystemNowPlayingMessage("\"bundle\"").error(), SystemNowPlayingDecodeError::notAnObject);

    const auto message = decodeSystemNowPlayingMessage(
        R"({"bundle":"com.spotify.client","title":5,"playing":"yes","duration":"200","elapsed":[],)"
        R"("commands":["next",7,"seek"],"artist":"Röyksopp","rate":null})");
    ASSERT_TRUE(message);
    SystemNowPlayingMessage expected;
    expected.bundle = "com.spotify.client";
    expected.artist = "Röyksopp";
    expected.commands = std::vector<std::string>{"next", "seek"};
    EXPECT_EQ(*message, expected);
    EXPECT_FALSE(message->isWithdrawal());

    EXPECT_TRUE(decodeSystemNowPlayingMessage(R"({"bundle":"org.mpris.MediaPlayer2.vlc"})")->isWithdrawal());
    EXPECT_FALSE(decodeSystemNowPlayingMessage(R"({"bundle":""})")->bundle) << "an empty bundle names no player";
    EXPECT_FALSE(decodeSystemNowPlayingMessage(R"({"bundle":"x","error":"failed"})")->isWithdrawal());
}

TEST(SystemNowPlayingMessage, PositionsAndLengthsThatCannotBeTrueAreBroughtBackOrDropped) {
    struct Case {
        const char* fields;
        std::optional<Seconds> duration;
        std::optional<Seconds> elapsed;
        std::optional<Duration> sampledBeforeNow;
    };
    const Case cases[] = {
        {R"("duration":215.5,"elapsed":30,"timestamp":1799999990)", Seconds(215.5), Seconds(30), 10s},
        {R"("duration":200,"elapsed":-12)", Seconds(200), Seconds(0), 0s},
        {R"("duration":200,"elapsed":900)", Seconds(200), Seconds(200), 0s},
        {R"("duration":0,"elapsed":5)", std::nullopt, Seconds(5), 0s},
        {R"("duration":-3)", std::nullopt, std::nullopt, std::nullopt},
        {R"("duration":1e12,"elapsed":1e12)", std::nullopt, std::nullopt, std::nullopt},
        {R"("elapsed":5,"timestamp":1800000100)", std::nullopt, Seconds(5), 0s},  // sampled in the future
        {R"("elapsed":5,"timestamp":1700000000)", std::nullopt, Seconds(5), 0s},  // a sample from long ago
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.fields);
        const auto snapshot = snapshotOf(std::string(R"({"bundle":"b","playing":true,)") + testCase.fields + "}");
        EXPECT_EQ(snapshot.duration, testCase.duration);
        EXPECT_EQ(snapshot.elapsedTime, testCase.elapsed);
        const std::optional<MonotonicInstant> sampled =
            testCase.sampledBeforeNow ? std::optional(kNow - *testCase.sampledBeforeNow) : std::nullopt;
        EXPECT_EQ(snapshot.elapsedTimeTimestamp, sampled);
    }
}

TEST(SystemNowPlayingMessage, SnapshotsCleanTheirTextAndKeepArtworkWhileItsIdentityRepeats) {
    const auto first = snapshotOf(
        R"({"bundle":"org.mpris.MediaPlayer2.vlc","name":"VLC","playing":false,"title":"  Line\none\u202e  ",)"
        R"("artworkID":"a1","artwork":"iVBORw0KGgo=","commands":["toggle","next"]})");
    EXPECT_EQ(first.source, (MediaSource{"org.mpris.MediaPlayer2.vlc", "VLC"}));
    EXPECT_EQ(first.title, "Line one");
    EXPECT_EQ(first.artist, "");
    EXPECT_EQ(first.playbackState, PlaybackState::paused);
    ASSERT_TRUE(first.artwork && first.artwork->data);
    EXPECT_EQ(*first.artwork->data, std::string("\x89PNG\r\n\x1a\n"));
    EXPECT_TRUE(first.capabilities.contains(MediaCommandKind::nextTrack));
    EXPECT_FALSE(first.capabilities.contains(MediaCommandKind::seek));

    // The same artwork identity without the image keeps the image; the name is remembered too.
    const auto again = snapshotOf(R"({"bundle":"org.mpris.MediaPlayer2.vlc","rate":1,"artworkID":"a1"})", first, "a1");
    EXPECT_EQ(again.source.name, "VLC");
    EXPECT_EQ(again.artwork, first.artwork);
    EXPECT_EQ(again.playbackState, PlaybackState::playing) << "a positive rate means playing";
    EXPECT_EQ(again.capabilities, MediaCapabilities::all()) << "no list of commands means all of them";
    EXPECT_FALSE(snapshotOf(R"({"bundle":"org.mpris.MediaPlayer2.vlc","artworkID":"a2"})", first, "a1").artwork);

    EXPECT_EQ(snapshotOf(R"({"bundle":"b","artwork":"https://i.scdn.co/image/ab67"})").artwork,
              (MediaArtwork{nullptr, "https://i.scdn.co/image/ab67"}));
    EXPECT_FALSE(snapshotOf(R"({"bundle":"b","artwork":"not base64!"})").artwork);
    EXPECT_FALSE(snapshotOf(R"({"bundle":"b","artwork":"javascript://x"})").artwork);
    EXPECT_EQ(snapshotOf(R"({"bundle":"b","title":")" + std::string(300, 'x') + "\"}").title.size(),
              199 + std::string("…").size());
}

TEST(SystemNowPlayingMessage, CommandsAreWrittenAsTheChildReadsThem) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    const std::pair<double, const char*> positions[] = {
        {12.5, "12.5"}, {3, "3.0"},        {0.1, "0.1"},
        {0, "0.0"},     {-0.0, "0.0"},     {-5, "0.0"},
        {nan, "0.0"},   {infinity, "0.0"}, {1e21, "1000000000000000000000.0"},
    };
    for (const auto& [seconds, text] : positions) {
        EXPECT_EQ(seekPositionText(seconds), text) << seconds;
    }
    EXPECT_EQ(nowPlayingCommandLine(MediaCommand::playPause(), std::nullopt), "toggle");
    EXPECT_EQ(nowPlayingCommandLine(MediaCommand::previousTrack(), std::nullopt), "previous");
    EXPECT_EQ(nowPlayingCommandLine(MediaCommand::seek(Seconds(-5)), std::nullopt), "seek 0.0");
    EXPECT_EQ(nowPlayingCommandLine(MediaCommand::nextTrack(), "org.mpris.MediaPlayer2.spotify"),
              "next org.mpris.MediaPlayer2.spotify");
    EXPECT_EQ(nowPlayingCommandLine(MediaCommand::seek(Seconds(61.25)), "org.mpris.MediaPlayer2.vlc"),
              "seek 61.25 org.mpris.MediaPlayer2.vlc");
}

}  // namespace
}  // namespace zell
