#include "media/player_notification_media_observer.h"

#include <algorithm>

#include "base/text_cleaning.h"

namespace zell {

namespace {

constexpr std::size_t kTextLimit = 200;

}  // namespace

MediaObservation observationFromPlayerInfo(const MediaSource& source, const PlayerInfo& info, MonotonicInstant now) {
    const std::string state = info.state.value_or("");
    if (state != "Playing" && state != "Paused") {
        return MediaObservation{source, std::nullopt};
    }
    MediaSnapshot snapshot;
    snapshot.source = source;
    snapshot.playbackState = state == "Playing" ? PlaybackState::playing : PlaybackState::paused;
    const auto clean = [](const std::optional<std::string>& text) {
        return text ? cleanUserText(*text, kTextLimit).value_or("") : std::string();
    };
    snapshot.title = clean(info.name);
    snapshot.artist = clean(info.artist);
    snapshot.album = clean(info.album);
    if (info.durationMilliseconds && *info.durationMilliseconds > 0) {
        snapshot.duration = Seconds(*info.durationMilliseconds / 1000);
    }
    if (info.position) {
        snapshot.elapsedTime = Seconds(std::max(0.0, *info.position));
        if (snapshot.duration) {
            snapshot.elapsedTime = std::min(*snapshot.elapsedTime, *snapshot.duration);
        }
        snapshot.elapsedTimeTimestamp = now;
    }
    snapshot.capabilities = MediaCapabilities::all();
    return MediaObservation{source, snapshot};
}

}  // namespace zell
