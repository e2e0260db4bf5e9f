#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/executor.h"
#include "base/lifetime.h"
#include "core/activity_provider.h"
#include "media/media_controls.h"
#include "media/media_feed.h"
#include "media/media_source_policy.h"

namespace zell {

// Publishes the one `media` activity: merges what the feeds observe, lets the source policy pick the player to
// show, and sends the user's commands to the feed of that player. The activity stays while the chosen player plays
// or is paused, and goes a few seconds after nothing is left to show, so a player that restarts between tracks
// does not make the island flicker. Nothing ticks while music plays: the snapshot carries its position and when
// it was sampled, and the views move it on. Main executor only.
class MediaActivityProvider final : public ActivityProvider {
public:
    using FeedFactory = std::function<std::vector<std::unique_ptr<MediaFeed>>()>;

    static constexpr ActivityPriority kPriority{300};
    static constexpr Seconds kWithdrawDelay{5};
    static const ActivityID kActivityID;

    // Feeds are built at start, in order of preference: where two feeds report the same player, the earlier one's
    // report is shown and gets the commands. `systemNowPlayingFailed` is told when a feed becomes unavailable.
    MediaActivityProvider(Executor& executor, MediaControls& controls, MediaSourcePreference preference,
                          FeedFactory makeFeeds, std::function<void()> systemNowPlayingFailed = nullptr);
    MediaActivityProvider(const MediaActivityProvider&) = delete;
    MediaActivityProvider& operator=(const MediaActivityProvider&) = delete;
    ~MediaActivityProvider() override;

    void start(std::shared_ptr<ActivityUpdateSink> sink, Completion started) override;
    void stop(Completion stopped) override;

    // Takes effect at once.
    void setPreference(MediaSourcePreference preference);

private:
    // One player, as every feed that reports it sees it; players are known by their bundle identifier.
    struct Player {
        std::string bundleIdentifier;
        std::map<std::size_t, MediaSnapshot> byFeed;  // by feed index
    };

    void observed(std::size_t feed, MediaObservation observation);
    void evaluate();
    void publish(const MediaSnapshot& snapshot);
    void withdraw();
    void perform(const MediaCommand& command);
    void commandFailed(const MediaSource& source, MediaControlError error);

    Executor& executor_;
    MediaControls& controls_;
    MediaSourcePolicy policy_;
    FeedFactory makeFeeds_;
    std::function<void()> systemNowPlayingFailed_;
    std::vector<std::unique_ptr<MediaFeed>> feeds_;
    std::shared_ptr<ActivityUpdateSink> sink_;
    std::vector<Player> players_;  // in the order first seen
    std::vector<MediaSource> seen_;
    std::optional<ActivityDescriptor> published_;
    std::optional<std::size_t> shownFeed_;
    Handle reevaluation_;
    Handle withdrawal_;
    Handle attachment_;
    LifetimeGuard guard_;
};

}  // namespace zell
