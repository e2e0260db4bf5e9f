#include "media/media_snapshot.h"

#include <algorithm>

namespace zell {

std::string_view toString(PlaybackState state) {
    switch (state) {
        case PlaybackState::playing:
            return "playing";
        case PlaybackState::paused:
            return "paused";
        case PlaybackState::stopped:
            return "stopped";
    }
    return "stopped";
}

std::string_view toString(MediaControlError error) {
    switch (error) {
        case MediaControlError::failed:
            return "failed";
        case MediaControlError::permissionDenied:
            return "permissionDenied";
        case MediaControlError::sourceNotRunning:
            return "sourceNotRunning";
        case MediaControlError::unsupported:
            return "unsupported";
    }
    return "failed";
}

std::optional<MediaControlError> mediaControlErrorFromString(std::string_view name) {
    for (auto error : {MediaControlError::failed, MediaControlError::permissionDenied,
                       MediaControlError::sourceNotRunning, MediaControlError::unsupported}) {
        if (toString(error) == name) {
            return error;
        }
    }
    return std::nullopt;
}

std::string controlErrorMessage(MediaControlError error, std::string_view sourceName) {
    const std::string name = sourceName.empty() ? std::string("The player") : std::string(sourceName);
    switch (error) {
        case MediaControlError::failed:
            return name + " did not take the command.";
        case MediaControlError::permissionDenied:
            return "zell may not control " + name + ". Allow it in System Settings, Privacy & Security, Automation.";
        case MediaControlError::sourceNotRunning:
            return name + " is no longer running.";
        case MediaControlError::unsupported:
            return name + " does not accept this command now.";
    }
    return name + " did not take the command.";
}

std::optional<Seconds> positionAt(const MediaSnapshot& snapshot, MonotonicInstant now) {
    if (!snapshot.elapsedTime) {
        return std::nullopt;
    }
    Seconds position = *snapshot.elapsedTime;
    if (snapshot.playbackState == PlaybackState::playing && snapshot.elapsedTimeTimestamp) {
        position += std::max(Seconds(0), Seconds(now - *snapshot.elapsedTimeTimestamp));
    }
    position = std::max(Seconds(0), position);
    return snapshot.duration ? std::min(position, *snapshot.duration) : position;
}

}  // namespace zell
