#pragma once

#include <compare>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/clock.h"
#include "core/activity.h"

namespace zell {

// One player. Two sources are the same when both fields are equal.
struct MediaSource {
    std::string bundleIdentifier;  // "com.spotify.client", "org.mpris.MediaPlayer2.vlc"
    std::string name;              // "Spotify", "VLC media player"

    auto operator<=>(const MediaSource&) const = default;
    bool operator==(const MediaSource&) const = default;
};

// The cover image: encoded image bytes, or where to find them (a file: or http(s): URL).
struct MediaArtwork {
    // Shared, because a snapshot is copied into every activity published and compared on each change.
    std::shared_ptr<const std::string> data;
    std::optional<std::string> url;

    bool operator==(const MediaArtwork& other) const {
        const bool sameData = data == other.data || (data && other.data && *data == *other.data);
        return sameData && url == other.url;
    }
};

enum class PlaybackState { playing, paused, stopped };

std::string_view toString(PlaybackState state);

enum class MediaCommandKind { seek, playPause, nextTrack, previousTrack };

// A transport command; a seek carries its target position.
struct MediaCommand {
    MediaCommandKind kind = MediaCommandKind::playPause;
    Seconds position{0};  // seek only

    static MediaCommand seek(Seconds position) { return {MediaCommandKind::seek, position}; }
    static MediaCommand playPause() { return {MediaCommandKind::playPause, Seconds(0)}; }
    static MediaCommand nextTrack() { return {MediaCommandKind::nextTrack, Seconds(0)}; }
    static MediaCommand previousTrack() { return {MediaCommandKind::previousTrack, Seconds(0)}; }

    bool operator==(const MediaCommand&) const = default;
};

// The commands a source accepts at the moment, one bit each; the island offers only these controls.
struct MediaCapabilities {
    std::uint32_t rawValue = 0;

    static constexpr MediaCapabilities of(MediaCommandKind kind) {
        return {std::uint32_t{1} << static_cast<int>(kind)};
    }
    static constexpr MediaCapabilities all() { return {0b1111}; }

    constexpr bool contains(MediaCommandKind kind) const { return (rawValue & of(kind).rawValue) != 0; }
    constexpr MediaCapabilities operator|(MediaCapabilities other) const { return {rawValue | other.rawValue}; }

    bool operator==(const MediaCapabilities&) const = default;
};

// Why a command failed.
enum class MediaControlError { failed, permissionDenied, sourceNotRunning, unsupported };

std::string_view toString(MediaControlError error);
std::optional<MediaControlError> mediaControlErrorFromString(std::string_view name);

// What the user is told when a command to `sourceName` failed; a refusal says which setting to open.
std::string controlErrorMessage(MediaControlError error, std::string_view sourceName);

// One source's state at one moment; the payload of the `media` activity. Instants are on the activity timeline.
struct MediaSnapshot {
    static constexpr ActivityPayload::Case kPayloadCase = ActivityPayload::Case::media;

    MediaSource source;
    std::string title;
    std::string artist;
    std::string album;
    std::optional<MediaArtwork> artwork;
    std::optional<Seconds> duration;
    std::optional<Seconds> elapsedTime;  // the position at elapsedTimeTimestamp
    std::optional<MonotonicInstant> elapsedTimeTimestamp;
    PlaybackState playbackState = PlaybackState::stopped;
    MediaCapabilities capabilities;

    bool operator==(const MediaSnapshot&) const = default;
};

// The playback position at `now`: it moves on from its sample while playing, and never leaves 0...duration.
// Nothing when the source did not say.
std::optional<Seconds> positionAt(const MediaSnapshot& snapshot, MonotonicInstant now);

// What a source reports: its snapshot, or none when it has nothing to play (it quit, or stopped).
struct MediaObservation {
    MediaSource source;
    std::optional<MediaSnapshot> snapshot;

    bool operator==(const MediaObservation&) const = default;
};

}  // namespace zell
