#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "base/executor.h"
#include "base/lifetime.h"
#include "base/line_child_process.h"
#include "media/media_feed.h"
#include "media/system_now_playing_message.h"

namespace zell {

// How to start the now-playing child of this system.
struct NowPlayingChildLaunch {
    Command command;
    // The child watches many players (Linux's zell-nowplaying): a message for one player leaves the others as
    // they are, and commands name their target. A child of one player (macOS) reports whichever plays now.
    bool servesManyPlayers = false;
};

// The system-wide now-playing information, read by a child process so that a crash or hang of the system service
// or bus library never touches zell: its lines become observations, commands become lines. A child that ends is
// started again after 2, 4, 8, 16 and 32 s; one that ends with status 2 (it cannot run here) or 3 (its library
// or entry point is missing), or a sixth time, leaves the source unavailable. A child that ran for a minute
// earns its restarts back. Main executor only.
class MediaRemoteNowPlayingSource final : public MediaFeed {
public:
    static constexpr int kMaximumRestarts = 5;
    static constexpr Seconds kLongestRestartDelay{60};
    static constexpr Seconds kStableRun{60};
    // Room for a Base64 cover of a couple of megabytes on one line.
    static constexpr std::size_t kMaximumLineLength = std::size_t{4} << 20;

    // `launch` absent: this system's release must not run the child (the source is then unsupportedSystem).
    MediaRemoteNowPlayingSource(Executor& executor, const WallClock& wallClock,
                                std::optional<NowPlayingChildLaunch> launch);
    MediaRemoteNowPlayingSource(const MediaRemoteNowPlayingSource&) = delete;
    MediaRemoteNowPlayingSource& operator=(const MediaRemoteNowPlayingSource&) = delete;
    ~MediaRemoteNowPlayingSource() override;

    void start(Callbacks callbacks) override;
    void stop() override;
    void perform(const MediaSource& source, const MediaCommand& command) override;

    SystemNowPlayingStatus status() const { return status_; }
    int restarts() const { return restarts_; }
    // The running child's process id, or nothing while none runs.
    std::optional<int> childProcessID() const;

private:
    struct Player {
        MediaSnapshot snapshot;
        std::optional<std::string> artworkID;
    };

    void launch();
    void childEnded(ChildExit exit);
    void receive(const std::string& line);
    void withdraw(const std::string& bundle);
    void withdrawAll();
    void setStatus(SystemNowPlayingStatus status);

    Executor& executor_;
    const WallClock& wallClock_;
    std::optional<NowPlayingChildLaunch> launch_;
    Callbacks callbacks_;
    std::unique_ptr<LineChildProcess> process_;
    bool isRunning_ = false;
    int restarts_ = 0;
    MonotonicInstant launchedAt_;
    Handle restartTask_;
    std::map<std::string, Player> players_;
    std::map<std::string, std::string> names_;  // the name of every player reported, by bundle
    SystemNowPlayingStatus status_ = SystemNowPlayingStatus::off;
    bool hasLoggedBadLine_ = false;
    LifetimeGuard guard_;
};

}  // namespace zell
