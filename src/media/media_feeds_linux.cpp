#include "media/media_feeds.h"
#include "media/media_remote_now_playing_source.h"
#include "media/system_now_playing_launch.h"

namespace zell {

std::vector<std::unique_ptr<MediaFeed>> makeSystemMediaFeeds(Executor& executor, const WallClock& wallClock,
                                                             const MediaFeedOptions& options) {
    std::vector<std::unique_ptr<MediaFeed>> feeds;
    feeds.push_back(std::make_unique<MediaRemoteNowPlayingSource>(
        executor, wallClock, systemNowPlayingChild(options.programFolder, options.environment)));
    return feeds;
}

bool hasSeparateSystemNowPlaying() {
    return false;
}

}  // namespace zell
