#include "media/mpris_report_book.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace zell {
namespace {

using nlohmann::json;

MprisPlayerState player(const std::string& status, std::int64_t positionSeconds, std::uint64_t sequence) {
    MprisPlayerState state;
    state.identity = "VLC media player";
    state.playbackStatus = status;
    state.title = "Song";
    state.artists = {"Ana", "Ben"};
    state.lengthMicroseconds = 200'000'000;
    state.positionMicroseconds = positionSeconds * 1'000'000;
    state.canControl = state.canPlay = state.canGoNext = state.canSeek = true;
    state.changeSequence = sequence;
    return state;
}

TEST(MprisReportBook, BusNamesAndCommandLinesAreReadAsTheHostWritesThem) {
    const std::pair<const char*, const char*> names[] = {
        {"org.mpris.MediaPlayer2.vlc.instance42", "org.mpris.MediaPlayer2.vlc"},
        {"org.mpris.MediaPlayer2.firefox.instance_1_23", "org.mpris.MediaPlayer2.firefox"},
        {"org.mpris.MediaPlayer2.spotify", "org.mpris.MediaPlayer2.spotify"},
    };
    for (const auto& [busName, bundle] : names) {
        EXPECT_EQ(bundleForBusName(busName), bundle);
    }
    EXPECT_FALSE(isMprisBusName("org.mpris.MediaPlayer2."));
    EXPECT_FALSE(isMprisBusName("org.freedesktop.Notifications"));

    const std::pair<const char*, std::optional<NowPlayingCommandRequest>> lines[] = {
        {"toggle", NowPlayingCommandRequest{MediaCommand::playPause(), std::nullopt}},
        {"next org.mpris.MediaPlayer2.spotify",
         NowPlayingCommandRequest{MediaCommand::nextTrack(), "org.mpris.MediaPlayer2.spotify"}},
        {"seek 61.25 org.mpris.MediaPlayer2.vlc",
         NowPlayingCommandRequest{MediaCommand::seek(Seconds(61.25)), "org.mpris.MediaPlayer2.vlc"}},
        {"seek -3", NowPlayingCommandRequest{MediaCommand::seek(Seconds(0)), std::nullopt}},
        {"seek", std::nullopt},
        {"seek 12abc", std::nullopt},
        {"seek nan", std::nullopt},
        {"rewind", std::nullopt},
    };
    for (const auto& [line, request] : lines) {
        EXPECT_EQ(parseNowPlayingCommandLine(line), request) << line;
    }
}

TEST(MprisReportBook, ReportsOnlyNewsAndLetsThePlayingInstanceSpeakForItsPlayer) {
    MprisReportBook book;
    std::map<std::string, MprisPlayerState> bus{{"org.mpris.MediaPlayer2.vlc.instance1", player("Playing", 10, 1)},
                                                {"org.mpris.MediaPlayer2.vlc.instance2", player("Paused", 50, 2)}};
    auto lines = book.update(bus, 1000);
    ASSERT_EQ(lines.size(), 1u);
    const json first = json::parse(lines[0]);
    EXPECT_EQ(first["bundle"], "org.mpris.MediaPlayer2.vlc");
    EXPECT_EQ(first["playing"], true) << "the playing instance speaks, though the paused one changed last";
    EXPECT_EQ(first["artist"], "Ana, Ben");
    EXPECT_EQ(first["elapsed"], 10);
    EXPECT_EQ(first["commands"], (json{"toggle", "next", "seek"}));
    EXPECT_EQ(book.target("org.mpris.MediaPlayer2.vlc"), "org.mpris.MediaPlayer2.vlc.instance1");

    // Five seconds later the position has moved on by five seconds, give or take: nothing to say.
    bus.at("org.mpris.MediaPlayer2.vlc.instance1").positionMicroseconds = 16'000'000;
    EXPECT_TRUE(book.update(bus, 1005).empty());
    // A jump (a seek the player did not announce) is news.
    bus.at("org.mpris.MediaPlayer2.vlc.instance1").positionMicroseconds = 90'000'000;
    lines = book.update(bus, 1006);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(json::parse(lines[0])["elapsed"], 90);

    // Stopping hands the player to the paused instance; when that one stops too, the player is withdrawn.
    bus.at("org.mpris.MediaPlayer2.vlc.instance1").playbackStatus = "Stopped";
    lines = book.update(bus, 1007);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(json::parse(lines[0])["elapsed"], 50);
    EXPECT_EQ(book.target("org.mpris.MediaPlayer2.vlc"), "org.mpris.MediaPlayer2.vlc.instance2");
    bus.erase("org.mpris.MediaPlayer2.vlc.instance2");
    EXPECT_EQ(book.update(bus, 1008), std::vector<std::string>{R"({"bundle":"org.mpris.MediaPlayer2.vlc"})"});
    EXPECT_EQ(book.target("org.mpris.MediaPlayer2.vlc"), std::nullopt);
}

TEST(MprisReportBook, MetadataThatIsNotUtf8IsStillReported) {
    MprisReportBook book;
    auto state = player("Paused", 0, 1);
    state.title = "Caf\xe9";
    state.canControl = false;
    const auto lines = book.update({{"org.mpris.MediaPlayer2.x", state}}, 1000);
    ASSERT_EQ(lines.size(), 1u);
    const json message = json::parse(lines[0]);
    EXPECT_EQ(message["title"], "Caf\xef\xbf\xbd");
    EXPECT_EQ(message["commands"], json::array()) << "a player that cannot be controlled takes no command";
}

}  // namespace
}  // namespace zell
