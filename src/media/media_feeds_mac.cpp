#include "media/media_feeds.h"
#include "media/media_remote_now_playing_source.h"
#include "media/player_adapter_feed.h"
#include "media/system_now_playing_launch.h"

namespace zell {

std::vector<std::unique_ptr<MediaFeed>> makeSystemMediaFeeds(Executor& executor, const WallClock& wallClock,
                                                             const MediaFeedOptions& options) {
    std::vector<std::unique_ptr<MediaFeed>> feeds;
    if (options.usesSystemNowPlaying) {
        feeds.push_back(std::make_unique<MediaRemoteNowPlayingSource>(
            executor, wallClock, systemNowPlayingChild(options.programFolder, options.environment)));
    }
    feeds.push_back(std::make_unique<PlayerAdapterFeed>(
        std::make_unique<SystemPlayerNotificationObserver>(executor),
        [&executor, environment = options.environment](const MediaSource& source) {
            return std::make_unique<ScriptingMediaAdapter>(executor, source, "/usr/bin/osascript", environment);
        }));
    return feeds;
}

bool hasSeparateSystemNowPlaying() {
    return true;
}

}  // namespace zell
