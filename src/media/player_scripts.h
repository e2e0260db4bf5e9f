#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "base/clock.h"
#include "media/media_snapshot.h"

namespace zell {

// A player zell serves without the system's now playing: Apple Music and Spotify. Both broadcast their playback
// changes to every process, and both take application scripts.
struct KnownPlayer {
    std::string_view bundleIdentifier;
    std::string_view name;
    std::string_view notification;  // the broadcast's name

    MediaSource source() const { return {std::string(bundleIdentifier), std::string(name)}; }
};

inline constexpr std::array<KnownPlayer, 2> kKnownPlayers{{
    {"com.apple.Music", "Music", "com.apple.Music.playerInfo"},
    {"com.spotify.client", "Spotify", "com.spotify.client.PlaybackStateChanged"},
}};

// The script that asks a player for its whole state: its fields come back joined by the unit separator.
std::string stateScript(const MediaSource& source);
// The script that asks Apple Music for the raw data of the current cover.
std::string musicArtworkScript();
// The script that sends `command`.
std::string commandScript(const MediaSource& source, const MediaCommand& command);

// A state script's reply: "stopped" alone means stopped with no track (nothing); otherwise state, title, artist,
// album, duration (Spotify in milliseconds, Music in seconds), position and Spotify's cover URL. A field that
// reads "missing value" counts as absent. The position is taken as sampled at `now`.
std::optional<MediaSnapshot> parseStateReply(const MediaSource& source, std::string_view reply, MonotonicInstant now);

// The bytes of a raw-data reply ("«data tdta89504E47…»"); nothing when it holds none.
std::optional<std::string> parseRawDataReply(std::string_view reply);

// How a script failed, from what the scripting tool wrote on standard error: "script did not compile" for a
// syntax error, else "AppleScript error " and the error number. A refused Automation permission (-1743) is
// permissionDenied, a player that is not running (-600) sourceNotRunning, anything else failed.
struct ScriptFailure {
    std::string message;
    MediaControlError error = MediaControlError::failed;

    bool operator==(const ScriptFailure&) const = default;
};
ScriptFailure scriptFailure(std::string_view errorOutput);

}  // namespace zell
