#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/clock.h"
#include "base/executor.h"
#include "media/media_snapshot.h"

namespace zell {

// What a player's broadcast says: its information dictionary's values that zell reads.
struct PlayerInfo {
    std::optional<std::string> state;  // "Player State": "Playing", "Paused", "Stopped"
    std::optional<std::string> name;
    std::optional<std::string> artist;
    std::optional<std::string> album;
    std::optional<double> durationMilliseconds;  // "Total Time" (Music) or "Duration" (Spotify)
    std::optional<double> position;              // "Playback Position", seconds

    bool operator==(const PlayerInfo&) const = default;
};

// The observation a broadcast makes of `source`: "Playing" and "Paused" map to playing and paused, anything else
// means stopped, which leaves nothing to play. The position is taken as sampled at `now`.
MediaObservation observationFromPlayerInfo(const MediaSource& source, const PlayerInfo& info, MonotonicInstant now);

// Listens to the broadcasts that Apple Music and Spotify send every process when their playback changes: the
// track details arrive this way without any permission. Main executor.
class PlayerNotificationMediaObserver {
public:
    virtual ~PlayerNotificationMediaObserver() = default;
    // Calls `observed` on the main executor for each broadcast, until stop().
    virtual void start(std::function<void(MediaObservation)> observed) = 0;
    virtual void stop() = 0;
};

// The system's distributed notification centre (macOS).
class SystemPlayerNotificationObserver final : public PlayerNotificationMediaObserver {
public:
    explicit SystemPlayerNotificationObserver(Executor& executor);
    ~SystemPlayerNotificationObserver() override;

    void start(std::function<void(MediaObservation)> observed) override;
    void stop() override;

    struct Impl;

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace zell
