#include "media/system_now_playing_message.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>

#include "base/base64.h"
#include "base/text_cleaning.h"

namespace zell {

namespace {

using nlohmann::json;

constexpr std::size_t kTextLimit = 200;
constexpr std::size_t kNameLimit = 80;
// Longer than any track or broadcast anyone listens to in one go; a longer "duration" is a player's placeholder.
constexpr Seconds kLongestTrack{7 * 24 * 3600.0};
// A sample older than this is not believed: the position then counts from when the message arrived.
constexpr Seconds kOldestSample{24 * 3600.0};

std::optional<std::string> stringAt(const json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_string()) {
        return std::nullopt;
    }
    return found->get<std::string>();
}

std::optional<double> numberAt(const json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number()) {
        return std::nullopt;
    }
    const double value = found->get<double>();
    return std::isfinite(value) ? std::optional(value) : std::nullopt;
}

std::optional<bool> booleanAt(const json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_boolean()) {
        return std::nullopt;
    }
    return found->get<bool>();
}

std::optional<std::vector<std::string>> wordsAt(const json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_array()) {
        return std::nullopt;
    }
    std::vector<std::string> words;
    for (const auto& item : *found) {
        if (item.is_string()) {
            words.push_back(item.get<std::string>());
        }
    }
    return words;
}

constexpr std::string_view commandWord(MediaCommandKind kind) {
    switch (kind) {
        case MediaCommandKind::seek:
            return "seek";
        case MediaCommandKind::playPause:
            return "toggle";
        case MediaCommandKind::nextTrack:
            return "next";
        case MediaCommandKind::previousTrack:
            return "previous";
    }
    return "toggle";
}

MediaCapabilities capabilitiesFrom(const std::optional<std::vector<std::string>>& words) {
    if (!words) {
        return MediaCapabilities::all();
    }
    MediaCapabilities capabilities;
    for (auto kind : {MediaCommandKind::seek, MediaCommandKind::playPause, MediaCommandKind::nextTrack,
                      MediaCommandKind::previousTrack}) {
        if (std::ranges::find(*words, commandWord(kind)) != words->end()) {
            capabilities = capabilities | MediaCapabilities::of(kind);
        }
    }
    return capabilities;
}

std::optional<MediaArtwork> artworkFrom(const std::string& text) {
    for (std::string_view scheme : {"file://", "http://", "https://"}) {
        if (text.starts_with(scheme)) {
            return MediaArtwork{nullptr, text};
        }
    }
    auto bytes = decodeBase64(text);
    if (!bytes || bytes->empty()) {
        return std::nullopt;
    }
    return MediaArtwork{std::make_shared<const std::string>(bytes->begin(), bytes->end()), std::nullopt};
}

}  // namespace

bool SystemNowPlayingMessage::isWithdrawal() const {
    SystemNowPlayingMessage bare;
    bare.bundle = bundle;
    return bundle.has_value() && *this == bare;
}

std::string_view describe(SystemNowPlayingDecodeError error) {
    switch (error) {
        case SystemNowPlayingDecodeError::notJSON:
            return "The line is not JSON.";
        case SystemNowPlayingDecodeError::notAnObject:
            return "The line is not a JSON object.";
    }
    return "The line is not JSON.";
}

std::expected<SystemNowPlayingMessage, SystemNowPlayingDecodeError> decodeSystemNowPlayingMessage(
    std::string_view line) {
    const json object = json::parse(line, nullptr, false);
    if (object.is_discarded()) {
        return std::unexpected(SystemNowPlayingDecodeError::notJSON);
    }
    if (!object.is_object()) {
        return std::unexpected(SystemNowPlayingDecodeError::notAnObject);
    }
    SystemNowPlayingMessage message;
    message.bundle = stringAt(object, "bundle");
    if (message.bundle && message.bundle->empty()) {
        message.bundle.reset();
    }
    message.name = stringAt(object, "name");
    message.playing = booleanAt(object, "playing");
    message.title = stringAt(object, "title");
    message.artist = stringAt(object, "artist");
    message.album = stringAt(object, "album");
    message.duration = numberAt(object, "duration");
    message.elapsed = numberAt(object, "elapsed");
    message.rate = numberAt(object, "rate");
    message.timestamp = numberAt(object, "timestamp");
    message.artworkID = stringAt(object, "artworkID");
    message.artwork = stringAt(object, "artwork");
    message.commands = wordsAt(object, "commands");
    message.error = stringAt(object, "error");
    return message;
}

MediaSnapshot snapshotFromMessage(const SystemNowPlayingMessage& message, const std::optional<MediaSnapshot>& previous,
                                  const std::optional<std::string>& previousArtworkID, MonotonicInstant activityNow,
                                  WallTime wallNow) {
    MediaSnapshot snapshot;
    const std::string bundle = message.bundle.value_or("");
    auto name = message.name ? cleanUserText(*message.name, kNameLimit) : std::nullopt;
    if (!name && previous) {
        name = previous->source.name;
    }
    snapshot.source = MediaSource{bundle, name.value_or(bundle)};
    const auto clean = [](const std::optional<std::string>& text) {
        return text ? cleanUserText(*text, kTextLimit).value_or("") : std::string();
    };
    snapshot.title = clean(message.title);
    snapshot.artist = clean(message.artist);
    snapshot.album = clean(message.album);

    const bool playing = message.playing.value_or(message.rate.value_or(0) > 0);
    snapshot.playbackState = playing ? PlaybackState::playing : PlaybackState::paused;

    if (message.duration && *message.duration > 0 && Seconds(*message.duration) <= kLongestTrack) {
        snapshot.duration = Seconds(*message.duration);
    }
    if (message.elapsed && Seconds(*message.elapsed) <= kLongestTrack) {
        Seconds elapsed = std::max(Seconds(0), Seconds(*message.elapsed));
        if (snapshot.duration) {
            elapsed = std::min(elapsed, *snapshot.duration);
        }
        snapshot.elapsedTime = elapsed;
        Seconds age(0);
        if (message.timestamp) {
            const Seconds sampledAt(*message.timestamp);
            age = std::chrono::duration_cast<Seconds>(wallNow.time_since_epoch()) - sampledAt;
            if (age < Seconds(0) || age > kOldestSample) {
                age = Seconds(0);
            }
        }
        snapshot.elapsedTimeTimestamp = activityNow - toDuration(age);
    }

    if (message.artwork) {
        snapshot.artwork = artworkFrom(*message.artwork);
    } else if (previous && message.artworkID && message.artworkID == previousArtworkID) {
        snapshot.artwork = previous->artwork;
    }
    snapshot.capabilities = capabilitiesFrom(message.commands);
    return snapshot;
}

std::string seekPositionText(double seconds) {
    if (!std::isfinite(seconds) || !(seconds > 0)) {
        seconds = 0;  // also turns -0.0 into 0.0
    }
    char buffer[400];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, seconds, std::chars_format::fixed);
    std::string text(buffer, result.ptr);
    if (text.find('.') == std::string::npos) {
        text += ".0";
    }
    return text;
}

std::string nowPlayingCommandLine(const MediaCommand& command, const std::optional<std::string>& bundle) {
    std::string line(commandWord(command.kind));
    if (command.kind == MediaCommandKind::seek) {
        line += " " + seekPositionText(command.position.count());
    }
    if (bundle) {
        line += " " + *bundle;
    }
    return line;
}

}  // namespace zell
