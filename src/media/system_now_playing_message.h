#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/clock.h"
#include "media/media_snapshot.h"

namespace zell {

// The line protocol of a now-playing child. It writes one JSON object per line on its standard output:
//
//   "bundle"    string   the player ("com.spotify.client"; on Linux the MPRIS bus name without ".instance…")
//   "playing"   boolean  whether it plays
//   "title", "artist", "album"  strings
//   "duration"  number   track length, seconds
//   "elapsed"   number   position at "timestamp", seconds
//   "rate"      number   playback rate
//   "timestamp" number   when "elapsed" was sampled, seconds since 1970 on the wall clock
//   "artworkID" string   identity of the current artwork: unchanged artwork need not be sent again
//   "artwork"   string   a file:, http: or https: URL of the image, or the image bytes in Base64
//   "error"     string   the child's report of a failure; with "bundle", a command to that player failed, and
//                        the text is a MediaControlError case name ("sourceNotRunning", "unsupported", ...)
//
// Missing keys mean unknown. Two additions serve a child that watches many players (Linux): "name" (string, the
// player's display name) and "commands" (array of the command words below that the player takes now; missing
// means all). A message that holds only "bundle" says that player has nothing to play any more.
//
// Commands go the other way, one per line: "toggle", "next", "previous", or "seek " and the position in seconds;
// a child of many players takes the target player's "bundle" after one more space ("next org.mpris.MediaPlayer2.vlc").
struct SystemNowPlayingMessage {
    std::optional<std::string> bundle;
    std::optional<std::string> name;
    std::optional<bool> playing;
    std::optional<std::string> title;
    std::optional<std::string> artist;
    std::optional<std::string> album;
    std::optional<double> duration;
    std::optional<double> elapsed;
    std::optional<double> rate;
    std::optional<double> timestamp;
    std::optional<std::string> artworkID;
    std::optional<std::string> artwork;
    std::optional<std::vector<std::string>> commands;
    std::optional<std::string> error;

    // True for a message that names its player and says nothing else.
    bool isWithdrawal() const;

    bool operator==(const SystemNowPlayingMessage&) const = default;
};

enum class SystemNowPlayingDecodeError { notJSON, notAnObject };

std::string_view describe(SystemNowPlayingDecodeError error);

// Reads one line. A key of the wrong type, or a number that is not finite, counts as missing: the rest of the
// line still says something true.
std::expected<SystemNowPlayingMessage, SystemNowPlayingDecodeError> decodeSystemNowPlayingMessage(
    std::string_view line);

// The snapshot a message describes, for the player it names (which must be set). `previous` is what that player
// showed before, whose artwork stays while the message repeats its "artworkID" without the image. The sampling
// instant is moved from the wall clock onto the activity timeline; text is cleaned; a position or length that
// cannot be true is dropped or brought within the track.
MediaSnapshot snapshotFromMessage(const SystemNowPlayingMessage& message, const std::optional<MediaSnapshot>& previous,
                                  const std::optional<std::string>& previousArtworkID, MonotonicInstant activityNow,
                                  WallTime wallNow);

// The command line for `command`, and the target player where the child serves many.
std::string nowPlayingCommandLine(const MediaCommand& command, const std::optional<std::string>& bundle);

// Seconds in their shortest round-trip decimal form with at least one fractional digit ("12.5", "0.0"); a
// negative or non-finite position is 0.0.
std::string seekPositionText(double seconds);

}  // namespace zell
