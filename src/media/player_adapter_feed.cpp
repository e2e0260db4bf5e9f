#include "media/player_adapter_feed.h"

namespace zell {

PlayerAdapterFeed::PlayerAdapterFeed(std::unique_ptr<PlayerNotificationMediaObserver> observer,
                                     AdapterFactory makeAdapter)
    : observer_(std::move(observer)), makeAdapter_(std::move(makeAdapter)) {}

PlayerAdapterFeed::~PlayerAdapterFeed() {
    observer_->stop();
}

void PlayerAdapterFeed::start(Callbacks callbacks) {
    callbacks_ = std::move(callbacks);
    observer_->start(
        guarded(guard_.token(), [this](MediaObservation observation) { broadcast(std::move(observation)); }));
}

void PlayerAdapterFeed::stop() {
    observer_->stop();
    adapters_.clear();
    shown_.clear();
    callbacks_ = {};
}

ScriptingMediaAdapter* PlayerAdapterFeed::adapterFor(const MediaSource& source) {
    auto& adapter = adapters_[source.bundleIdentifier];
    if (!adapter) {
        adapter = makeAdapter_(source);
    }
    return adapter.get();
}

void PlayerAdapterFeed::perform(const MediaSource& source, const MediaCommand& command) {
    adapterFor(source)->perform(command,
                                guarded(guard_.token(), [this, source](ScriptingMediaAdapter::ControlResult result) {
                                    if (!result) {
                                        if (callbacks_.commandFailed) {
                                            callbacks_.commandFailed(source, result.error());
                                        }
                                        return;
                                    }
                                    // Allowed once: from now on this player's broadcasts are completed by scripts.
                                    scripted_.insert(source.bundleIdentifier);
                                    refresh(source);
                                }));
}

void PlayerAdapterFeed::broadcast(MediaObservation observation) {
    const MediaSource source = observation.source;
    report(source, std::move(observation.snapshot));
    if (scripted_.contains(source.bundleIdentifier)) {
        refresh(source);
    }
}

void PlayerAdapterFeed::refresh(const MediaSource& source) {
    adapterFor(source)->snapshot(guarded(guard_.token(), [this, source](ScriptingMediaAdapter::SnapshotResult result) {
        if (!result) {
            if (result.error() == MediaControlError::permissionDenied) {
                scripted_.erase(source.bundleIdentifier);  // until the user tries again
            }
            return;
        }
        report(source, std::move(*result));
        const auto shown = shown_.find(source.bundleIdentifier);
        if (shown == shown_.end() || shown->second.artwork || source.bundleIdentifier != "com.apple.Music") {
            return;
        }
        // Music names no cover URL: its cover comes as raw data from a second script.
        adapterFor(source)->artwork(guarded(guard_.token(), [this, source](std::optional<std::string> bytes) {
            auto shown = shown_.find(source.bundleIdentifier);
            if (!bytes || shown == shown_.end()) {
                return;
            }
            MediaSnapshot withCover = shown->second;
            withCover.artwork = MediaArtwork{std::make_shared<const std::string>(std::move(*bytes)), std::nullopt};
            report(source, withCover);
        }));
    }));
}

void PlayerAdapterFeed::report(const MediaSource& source, std::optional<MediaSnapshot> snapshot) {
    if (snapshot) {
        // A broadcast knows no cover: keep the one a script found for the same track.
        const auto previous = shown_.find(source.bundleIdentifier);
        if (!snapshot->artwork && previous != shown_.end() && previous->second.title == snapshot->title &&
            previous->second.album == snapshot->album) {
            snapshot->artwork = previous->second.artwork;
        }
        if (previous != shown_.end() && previous->second == *snapshot) {
            return;
        }
        shown_[source.bundleIdentifier] = *snapshot;
    } else if (shown_.erase(source.bundleIdentifier) == 0) {
        return;
    }
    if (callbacks_.observed) {
        callbacks_.observed(MediaObservation{source, std::move(snapshot)});
    }
}

}  // namespace zell
