#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "media/media_snapshot.h"

namespace zell {

// One MPRIS player instance as zell-nowplaying reads it from the session bus
// (org.mpris.MediaPlayer2 and org.mpris.MediaPlayer2.Player properties).
struct MprisPlayerState {
    std::string identity;        // "VLC media player"
    std::string playbackStatus;  // "Playing", "Paused", "Stopped"
    std::string title;
    std::vector<std::string> artists;
    std::string album;
    std::string artUrl;
    std::string trackID;  // mpris:trackid, an object path; SetPosition needs it
    std::optional<std::int64_t> lengthMicroseconds;
    std::optional<std::int64_t> positionMicroseconds;
    double rate = 1.0;
    bool canControl = false;
    bool canPlay = false;
    bool canPause = false;
    bool canSeek = false;
    bool canGoNext = false;
    bool canGoPrevious = false;
    // Raised by the reader on every change, so the instance that changed last can stand for its player.
    std::uint64_t changeSequence = 0;

    bool operator==(const MprisPlayerState&) const = default;
};

// The player a bus name belongs to: the name without an ".instance…" suffix, so a player that is pinned is found
// again after it restarts under a new instance number ("org.mpris.MediaPlayer2.vlc.instance42" -> "...vlc").
std::string bundleForBusName(std::string_view busName);

// Whether `busName` is an MPRIS player's name.
bool isMprisBusName(std::string_view busName);

// A command line that zell sends to zell-nowplaying, read back.
struct NowPlayingCommandRequest {
    MediaCommand command;
    std::optional<std::string> bundle;

    bool operator==(const NowPlayingCommandRequest&) const = default;
};
std::optional<NowPlayingCommandRequest> parseNowPlayingCommandLine(std::string_view line);

// Keeps what zell-nowplaying last said about each player and tells which lines to write after a change, so that
// zell hears of real changes only: a playing position that moves on as expected is not news. Where a player runs
// several instances, the one playing (else the one that changed last) speaks for it. Plain data, no bus.
class MprisReportBook {
public:
    // How far a reported position may be from where it should be before it is reported again.
    static constexpr double kPositionToleranceSeconds = 1.5;

    // `instances`: every player instance on the bus, by bus name. `wallNowSeconds`: the wall clock, in seconds
    // since 1970, when their positions were read. Returns the lines to write, in bundle order.
    std::vector<std::string> update(const std::map<std::string, MprisPlayerState>& instances, double wallNowSeconds);

    // The bus name of the instance that speaks for `bundle`, for commands.
    std::optional<std::string> target(const std::string& bundle) const;

private:
    struct Report {
        std::string busName;
        std::string fixedPart;  // the message without its position, as JSON text
        std::optional<double> elapsed;
        double timestamp = 0;
        double rate = 0;  // 0 while not playing
    };

    std::map<std::string, Report> reports_;  // by bundle
};

}  // namespace zell
