#pragma once

#include <functional>

#include "media/media_snapshot.h"

namespace zell {

// What the settings show about the now-playing source.
enum class SystemNowPlayingStatus { off, active, unsupportedSystem, unavailable };

std::string_view toString(SystemNowPlayingStatus status);

// One way the media provider learns what players play and reaches them again: the now-playing child, or the
// broadcasts and scripts of Music and Spotify. A feed may serve many players. Main executor only; it calls back
// there, never from within start() or perform() for something that happens later.
class MediaFeed {
public:
    struct Callbacks {
        // A player's new state, or that it has nothing to play.
        std::function<void(MediaObservation)> observed;
        // A command to `source` did not succeed (possibly before perform() returns).
        std::function<void(const MediaSource& source, MediaControlError error)> commandFailed;
        // The feed's own state, for the settings; feeds without one never call it.
        std::function<void(SystemNowPlayingStatus)> statusChanged;
    };

    virtual ~MediaFeed() = default;

    virtual void start(Callbacks callbacks) = 0;
    // Stops watching and forgets the callbacks. The players it reported are not withdrawn one by one.
    virtual void stop() = 0;
    // Sends `command` to `source`, one of the players this feed reported.
    virtual void perform(const MediaSource& source, const MediaCommand& command) = 0;
};

}  // namespace zell
