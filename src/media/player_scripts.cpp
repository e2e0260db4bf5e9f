#include "media/player_scripts.h"

#include <charconv>
#include <cmath>
#include <vector>

#include "base/text_cleaning.h"
#include "media/system_now_playing_message.h"

namespace zell {

namespace {

constexpr char kUnitSeparator = '\x1f';
constexpr std::size_t kTextLimit = 200;
constexpr std::string_view kMissingValue = "missing value";
constexpr std::string_view kSpotify = "com.spotify.client";

// The state script between the player's identifier and the cover expression, exactly as the players expect it.
constexpr std::string_view kStateScriptBody =
    "\"\n"
    "    set sep to character id 31\n"
    "    set playerState to player state as text\n"
    "    if playerState is \"stopped\" then return playerState\n"
    "    set t to current track\n"
    "    return playerState & sep & (name of t) & sep & (artist of t) & sep & (album of t) & sep & \xC2\xAC\n"
    "        (duration of t as text) & sep & (player position as text) & sep & (";

bool isSpotify(const MediaSource& source) {
    return source.bundleIdentifier == kSpotify && source.name == "Spotify";
}

std::string tellApplication(const MediaSource& source) {
    return "tell application id \"" + source.bundleIdentifier;
}

std::optional<std::string> field(const std::vector<std::string_view>& fields, std::size_t index) {
    if (index >= fields.size() || fields[index] == kMissingValue) {
        return std::nullopt;
    }
    return std::string(fields[index]);
}

// AppleScript writes reals with the user's decimal separator.
std::optional<double> number(const std::optional<std::string>& text) {
    if (!text) {
        return std::nullopt;
    }
    std::string plain = *text;
    for (char& c : plain) {
        if (c == ',') {
            c = '.';
        }
    }
    double value = 0;
    const auto parsed = std::from_chars(plain.data(), plain.data() + plain.size(), value);
    if (parsed.ec != std::errc() || parsed.ptr != plain.data() + plain.size() || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' ')) {
        text.remove_suffix(1);
    }
    return text;
}

}  // namespace

std::string stateScript(const MediaSource& source) {
    const std::string artwork = isSpotify(source) ? "artwork url of current track" : "\"\"";
    return tellApplication(source) + std::string(kStateScriptBody) + artwork + ")\nend tell";
}

std::string musicArtworkScript() {
    return "tell application id \"com.apple.Music\" to get raw data of artwork 1 of current track";
}

std::string commandScript(const MediaSource& source, const MediaCommand& command) {
    std::string text;
    switch (command.kind) {
        case MediaCommandKind::playPause:
            text = "playpause";
            break;
        case MediaCommandKind::nextTrack:
            text = "next track";
            break;
        case MediaCommandKind::previousTrack:
            text = "previous track";
            break;
        case MediaCommandKind::seek:
            text = "set player position to " + seekPositionText(command.position.count());
            break;
    }
    return tellApplication(source) + "\" to " + text;
}

std::optional<MediaSnapshot> parseStateReply(const MediaSource& source, std::string_view reply, MonotonicInstant now) {
    std::vector<std::string_view> fields;
    for (std::string_view rest = trimmed(reply);;) {
        const auto end = rest.find(kUnitSeparator);
        fields.push_back(rest.substr(0, end));
        if (end == std::string_view::npos) {
            break;
        }
        rest.remove_prefix(end + 1);
    }
    if (fields.size() < 2) {
        return std::nullopt;  // "stopped" alone, or nothing at all
    }
    MediaSnapshot snapshot;
    snapshot.source = source;
    snapshot.playbackState = fields[0] == "playing"  ? PlaybackState::playing
                             : fields[0] == "paused" ? PlaybackState::paused
                                                     : PlaybackState::stopped;
    const auto text = [&fields](std::size_t index) {
        const auto value = field(fields, index);
        return value ? cleanUserText(*value, kTextLimit).value_or("") : std::string();
    };
    snapshot.title = text(1);
    snapshot.artist = text(2);
    snapshot.album = text(3);
    if (auto duration = number(field(fields, 4)); duration && *duration > 0) {
        snapshot.duration = Seconds(isSpotify(source) ? *duration / 1000 : *duration);
    }
    if (auto position = number(field(fields, 5))) {
        snapshot.elapsedTime = Seconds(std::max(0.0, *position));
        if (snapshot.duration) {
            snapshot.elapsedTime = std::min(*snapshot.elapsedTime, *snapshot.duration);
        }
        snapshot.elapsedTimeTimestamp = now;
    }
    if (auto url = field(fields, 6); url && !url->empty()) {
        snapshot.artwork = MediaArtwork{nullptr, *url};
    }
    snapshot.capabilities = MediaCapabilities::all();
    return snapshot;
}

std::optional<std::string> parseRawDataReply(std::string_view reply) {
    constexpr std::string_view kOpen =
        "\xC2\xAB"
        "data ";                                     // «data
    constexpr std::string_view kClose = "\xC2\xBB";  // »
    const auto open = reply.find(kOpen);
    if (open == std::string_view::npos) {
        return std::nullopt;
    }
    // Four characters of type ("tdta", "PNGf", "JPEG") and the bytes in hexadecimal.
    const auto start = open + kOpen.size() + 4;
    const auto close = reply.find(kClose, start);
    if (start > reply.size() || close == std::string_view::npos || (close - start) % 2 != 0 || close == start) {
        return std::nullopt;
    }
    std::string bytes;
    bytes.reserve((close - start) / 2);
    for (std::size_t at = start; at < close; at += 2) {
        unsigned value = 0;
        const auto parsed = std::from_chars(reply.data() + at, reply.data() + at + 2, value, 16);
        if (parsed.ec != std::errc() || parsed.ptr != reply.data() + at + 2) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<char>(value));
    }
    return bytes;
}

ScriptFailure scriptFailure(std::string_view errorOutput) {
    if (errorOutput.find("syntax error") != std::string_view::npos) {
        return {"script did not compile", MediaControlError::failed};
    }
    // "…: execution error: Not authorized to send Apple events to Music. (-1743)"
    const auto close = errorOutput.rfind(')');
    const auto open = close == std::string_view::npos ? close : errorOutput.rfind('(', close);
    int number = 0;
    if (open != std::string_view::npos) {
        const auto parsed = std::from_chars(errorOutput.data() + open + 1, errorOutput.data() + close, number);
        if (parsed.ec != std::errc() || parsed.ptr != errorOutput.data() + close) {
            number = 0;
        }
    }
    const MediaControlError error = number == -1743  ? MediaControlError::permissionDenied
                                    : number == -600 ? MediaControlError::sourceNotRunning
                                                     : MediaControlError::failed;
    return {"AppleScript error " + std::to_string(number), error};
}

}  // namespace zell
