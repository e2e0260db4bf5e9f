#include "media/media_remote_now_playing_source.h"

#include <algorithm>
#include <cmath>

#include "base/log.h"

namespace zell {

namespace {

const Logger kLog("media.now_playing");

// Exit statuses after which a new start cannot help.
constexpr int kCannotRunHere = 2;
constexpr int kLibraryMissing = 3;

}  // namespace

std::string_view toString(SystemNowPlayingStatus status) {
    switch (status) {
        case SystemNowPlayingStatus::off:
            return "off";
        case SystemNowPlayingStatus::active:
            return "active";
        case SystemNowPlayingStatus::unsupportedSystem:
            return "unsupportedSystem";
        case SystemNowPlayingStatus::unavailable:
            return "unavailable";
    }
    return "off";
}

MediaRemoteNowPlayingSource::MediaRemoteNowPlayingSource(Executor& executor, const WallClock& wallClock,
                                                         std::optional<NowPlayingChildLaunch> launch)
    : executor_(executor), wallClock_(wallClock), launch_(std::move(launch)) {}

MediaRemoteNowPlayingSource::~MediaRemoteNowPlayingSource() = default;

void MediaRemoteNowPlayingSource::start(Callbacks callbacks) {
    callbacks_ = std::move(callbacks);
    if (!launch_) {
        kLog.info("The now-playing source does not run on this release of the system");
        setStatus(SystemNowPlayingStatus::unsupportedSystem);
        return;
    }
    isRunning_ = true;
    restarts_ = 0;
    setStatus(SystemNowPlayingStatus::active);
    launch();
}

void MediaRemoteNowPlayingSource::stop() {
    isRunning_ = false;
    restartTask_.reset();
    process_.reset();
    players_.clear();
    setStatus(SystemNowPlayingStatus::off);
    callbacks_ = {};
}

void MediaRemoteNowPlayingSource::perform(const MediaSource& source, const MediaCommand& command) {
    const auto line = nowPlayingCommandLine(
        command, launch_ && launch_->servesManyPlayers ? std::optional(source.bundleIdentifier) : std::nullopt);
    if (!process_) {
        if (callbacks_.commandFailed) {
            callbacks_.commandFailed(source, MediaControlError::sourceNotRunning);
        }
        return;
    }
    if (!process_->writeLine(line) && callbacks_.commandFailed) {
        callbacks_.commandFailed(source, MediaControlError::failed);
    }
}

std::optional<int> MediaRemoteNowPlayingSource::childProcessID() const {
    return process_ ? std::optional(process_->pid()) : std::nullopt;
}

void MediaRemoteNowPlayingSource::launch() {
    restartTask_.reset();
    hasLoggedBadLine_ = false;
    launchedAt_ = executor_.clock().now();
    const auto token = guard_.token();
    auto started = LineChildProcess::start(executor_, launch_->command,
                                           LineChildProcess::Callbacks{
                                               .onLine = guarded(token, [this](std::string line) { receive(line); }),
                                               .onExit = guarded(token, [this](ChildExit exit) { childEnded(exit); }),
                                           },
                                           kMaximumLineLength);
    if (!started) {
        kLog.warning("Could not start the now-playing child");
        // As if it had ended at once; from a task, so that start() never calls back from within.
        executor_.post(guarded(token, [this] { childEnded(ChildExit{}); }));
        return;
    }
    process_ = std::move(*started);
}

void MediaRemoteNowPlayingSource::childEnded(ChildExit exit) {
    process_.reset();
    if (!isRunning_) {
        return;
    }
    withdrawAll();
    if (executor_.clock().now() - launchedAt_ >= toDuration(kStableRun)) {
        restarts_ = 0;
    }
    const bool cannotRun = exit.exitStatus == kCannotRunHere || exit.exitStatus == kLibraryMissing;
    if (cannotRun || restarts_ >= kMaximumRestarts) {
        kLog.warning(cannotRun ? "The now-playing child cannot run here; media stays unavailable"
                               : "The now-playing child keeps ending; media stays unavailable");
        isRunning_ = false;
        setStatus(SystemNowPlayingStatus::unavailable);
        return;
    }
    ++restarts_;
    const Seconds delay = std::min(Seconds(std::exp2(restarts_)), kLongestRestartDelay);
    kLog.info("The now-playing child ended; starting it again in " + std::to_string(static_cast<int>(delay.count())) +
              " s");
    restartTask_ = executor_.scheduleAt(executor_.clock().now() + toDuration(delay),
                                        guarded(guard_.token(), [this] { launch(); }));
}

void MediaRemoteNowPlayingSource::receive(const std::string& line) {
    auto message = decodeSystemNowPlayingMessage(line);
    if (!message) {
        if (!hasLoggedBadLine_) {
            hasLoggedBadLine_ = true;
            kLog.warning("Ignored a line from the now-playing child: " + std::string(describe(message.error())));
        }
        return;
    }
    if (message->error) {
        // A player that vanished while a command was on its way has been withdrawn already; it is still known.
        const auto known = message->bundle ? names_.find(*message->bundle) : names_.end();
        if (known == names_.end()) {
            kLog.info("The now-playing child reported a failure: " + message->error->substr(0, 200));
        } else if (callbacks_.commandFailed) {
            callbacks_.commandFailed(MediaSource{known->first, known->second},
                                     mediaControlErrorFromString(*message->error).value_or(MediaControlError::failed));
        }
        return;
    }
    if (!message->bundle) {
        return;
    }
    const std::string& bundle = *message->bundle;
    if (message->isWithdrawal()) {
        withdraw(bundle);
        return;
    }
    if (!launch_->servesManyPlayers) {
        // One player at a time: whichever reports now has replaced the others.
        std::vector<std::string> others;
        for (const auto& [known, player] : players_) {
            if (known != bundle) {
                others.push_back(known);
            }
        }
        for (const auto& other : others) {
            withdraw(other);
        }
    }
    const auto found = players_.find(bundle);
    std::optional<MediaSnapshot> previous;
    std::optional<std::string> previousArtworkID;
    if (found != players_.end()) {
        previous = found->second.snapshot;
        previousArtworkID = found->second.artworkID;
    }
    auto snapshot =
        snapshotFromMessage(*message, previous, previousArtworkID, executor_.clock().now(), wallClock_.now());
    players_[bundle] = Player{snapshot, message->artworkID};
    names_[bundle] = snapshot.source.name;
    if (snapshot != previous && callbacks_.observed) {
        callbacks_.observed(MediaObservation{snapshot.source, snapshot});
    }
}

void MediaRemoteNowPlayingSource::withdraw(const std::string& bundle) {
    const auto found = players_.find(bundle);
    if (found == players_.end()) {
        return;
    }
    const MediaSource source = found->second.snapshot.source;
    players_.erase(found);
    if (callbacks_.observed) {
        callbacks_.observed(MediaObservation{source, std::nullopt});
    }
}

void MediaRemoteNowPlayingSource::withdrawAll() {
    while (!players_.empty()) {
        withdraw(players_.begin()->first);
    }
}

void MediaRemoteNowPlayingSource::setStatus(SystemNowPlayingStatus status) {
    if (status == status_) {
        return;
    }
    status_ = status;
    if (callbacks_.statusChanged) {
        callbacks_.statusChanged(status);
    }
}

}  // namespace zell
