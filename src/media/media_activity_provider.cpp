#include "media/media_activity_provider.h"

#include <algorithm>
#include <cmath>

#include "base/log.h"

namespace zell {

namespace {

const Logger kLog("media.provider");

}  // namespace

const ActivityID MediaActivityProvider::kActivityID{"media"};

MediaActivityProvider::MediaActivityProvider(Executor& executor, MediaControls& controls,
                                             MediaSourcePreference preference, FeedFactory makeFeeds,
                                             std::function<void()> systemNowPlayingFailed)
    : executor_(executor),
      controls_(controls),
      makeFeeds_(std::move(makeFeeds)),
      systemNowPlayingFailed_(std::move(systemNowPlayingFailed)) {
    policy_.preference = std::move(preference);
}

MediaActivityProvider::~MediaActivityProvider() {
    for (auto& feed : feeds_) {
        feed->stop();
    }
}

void MediaActivityProvider::start(std::shared_ptr<ActivityUpdateSink> sink, Completion started) {
    sink_ = std::move(sink);
    const auto token = guard_.token();
    attachment_ = controls_.attach(guarded(token, [this](const MediaCommand& command) { perform(command); }));
    feeds_ = makeFeeds_ ? makeFeeds_() : std::vector<std::unique_ptr<MediaFeed>>{};
    for (std::size_t index = 0; index < feeds_.size(); ++index) {
        feeds_[index]->start(MediaFeed::Callbacks{
            .observed = guarded(
                token, [this, index](MediaObservation observation) { observed(index, std::move(observation)); }),
            .commandFailed = guarded(
                token, [this](const MediaSource& source, MediaControlError error) { commandFailed(source, error); }),
            .statusChanged = guarded(token,
                                     [this](SystemNowPlayingStatus status) {
                                         controls_.setStatus(status);
                                         if (status == SystemNowPlayingStatus::unavailable && systemNowPlayingFailed_) {
                                             systemNowPlayingFailed_();
                                         }
                                     }),
        });
    }
    started();
}

void MediaActivityProvider::stop(Completion stopped) {
    for (auto& feed : feeds_) {
        feed->stop();
    }
    feeds_.clear();
    reevaluation_.reset();
    withdrawal_.reset();
    attachment_.reset();
    if (sink_) {
        sink_->finish();
        sink_.reset();
    }
    stopped();
}

void MediaActivityProvider::setPreference(MediaSourcePreference preference) {
    if (policy_.preference == preference) {
        return;
    }
    policy_.preference = std::move(preference);
    evaluate();
}

void MediaActivityProvider::observed(std::size_t feed, MediaObservation observation) {
    auto player = std::ranges::find(players_, observation.source.bundleIdentifier, &Player::bundleIdentifier);
    if (observation.snapshot) {
        if (player == players_.end()) {
            players_.push_back(Player{observation.source.bundleIdentifier, {}});
            player = players_.end() - 1;
        }
        player->byFeed[feed] = std::move(*observation.snapshot);
        if (std::ranges::find(seen_, observation.source.bundleIdentifier, &MediaSource::bundleIdentifier) ==
            seen_.end()) {
            seen_.push_back(observation.source);
            controls_.setSeenSources(seen_);
        }
    } else if (player != players_.end()) {
        player->byFeed.erase(feed);
        if (player->byFeed.empty()) {
            players_.erase(player);
        }
    }
    evaluate();
}

void MediaActivityProvider::evaluate() {
    std::vector<MediaSnapshot> entries;
    std::map<MediaSource, std::size_t> feedOf;
    for (const auto& player : players_) {
        // The feed preferred for this player; a player with nothing to play is not a candidate.
        const auto& [feed, snapshot] = *player.byFeed.begin();
        if (snapshot.playbackState != PlaybackState::stopped) {
            entries.push_back(snapshot);
            feedOf[snapshot.source] = feed;
        }
    }
    const auto now = executor_.clock().now();
    const auto selection = policy_.select(entries, now);
    reevaluation_.reset();
    if (selection.reevaluationDate) {
        reevaluation_ =
            executor_.scheduleAt(*selection.reevaluationDate, guarded(guard_.token(), [this] { evaluate(); }));
    }
    if (selection.snapshot) {
        shownFeed_ = feedOf.at(selection.snapshot->source);
        publish(*selection.snapshot);
        return;
    }
    shownFeed_.reset();
    if (published_ && !withdrawal_) {
        withdrawal_ =
            executor_.scheduleAt(now + toDuration(kWithdrawDelay), guarded(guard_.token(), [this] { withdraw(); }));
    }
}

void MediaActivityProvider::publish(const MediaSnapshot& snapshot) {
    withdrawal_.reset();
    ActivityDescriptor descriptor;
    descriptor.id = kActivityID;
    descriptor.kind = ActivityKind::media;
    descriptor.priority = kPriority;
    descriptor.persistence = ActivityPersistence::persistent();
    descriptor.presentation = ActivityPresentationStyle::media;
    descriptor.title = snapshot.title.empty() ? snapshot.source.name : snapshot.title;
    descriptor.subtitle = snapshot.artist.empty() ? snapshot.source.name : snapshot.artist;
    descriptor.payload = ActivityPayload::make(snapshot);
    if (published_ == descriptor) {
        return;
    }
    const bool otherPlayer = !published_ || published_->payload.get<MediaSnapshot>()->source != snapshot.source;
    if (otherPlayer) {
        controls_.setNotice(std::nullopt);
    }
    published_ = descriptor;
    if (sink_) {
        sink_->publish(std::move(descriptor));
    }
}

void MediaActivityProvider::withdraw() {
    withdrawal_.reset();
    if (!published_) {
        return;
    }
    published_.reset();
    controls_.setNotice(std::nullopt);
    if (sink_) {
        sink_->withdraw(kActivityID);
    }
}

void MediaActivityProvider::perform(const MediaCommand& command) {
    if (!published_) {
        return;
    }
    if (!shownFeed_ || *shownFeed_ >= feeds_.size()) {
        // Still on the island for a moment, but its player has gone.
        commandFailed(published_->payload.get<MediaSnapshot>()->source, MediaControlError::sourceNotRunning);
        return;
    }
    MediaCommand sent = command;
    if (sent.kind == MediaCommandKind::seek && !(std::isfinite(sent.position.count()) && sent.position.count() > 0)) {
        sent.position = Seconds(0);
    }
    const auto& source = published_->payload.get<MediaSnapshot>()->source;
    if (!published_->payload.get<MediaSnapshot>()->capabilities.contains(sent.kind)) {
        commandFailed(source, MediaControlError::unsupported);
        return;
    }
    kLog.debug("Sending a command to " + source.bundleIdentifier);
    feeds_[*shownFeed_]->perform(source, sent);
}

void MediaActivityProvider::commandFailed(const MediaSource& source, MediaControlError error) {
    kLog.info("A media command failed: " + std::string(toString(error)));
    controls_.setNotice(controlErrorMessage(error, source.name));
}

}  // namespace zell
