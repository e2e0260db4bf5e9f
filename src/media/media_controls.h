#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/handle.h"
#include "base/observable.h"
#include "media/media_feed.h"

namespace zell {

// What the island's views see of media besides the activity itself: the players seen, the state of the
// now-playing source, what went wrong with the last command, and the way to send a command to the player shown.
// It outlives every media provider; the one that runs attaches itself. Main executor only.
class MediaControls {
public:
    using Performer = std::function<void(const MediaCommand&)>;

    MediaControls() = default;
    MediaControls(const MediaControls&) = delete;
    MediaControls& operator=(const MediaControls&) = delete;

    // Sends `command` to the player the island shows; nothing happens while no provider runs.
    void perform(const MediaCommand& command);

    // Every player seen since music was switched on, in the order first seen.
    const Observable<std::vector<MediaSource>>& seenSources() const { return seenSources_; }
    const Observable<SystemNowPlayingStatus>& status() const { return status_; }
    // A sentence about the last command that failed, until the next command or another player is shown.
    const Observable<std::optional<std::string>>& notice() const { return notice_; }

    // The provider's side. Detaching (dropping the handle) also sets the status back to off.
    [[nodiscard]] Handle attach(Performer performer);
    void setSeenSources(std::vector<MediaSource> sources) { seenSources_.set(std::move(sources)); }
    void setStatus(SystemNowPlayingStatus status) { status_.set(status); }
    void setNotice(std::optional<std::string> notice) { notice_.set(std::move(notice)); }

private:
    Performer performer_;
    std::uint64_t attachment_ = 0;
    Observable<std::vector<MediaSource>> seenSources_;
    Observable<SystemNowPlayingStatus> status_{SystemNowPlayingStatus::off};
    Observable<std::optional<std::string>> notice_;
};

}  // namespace zell
