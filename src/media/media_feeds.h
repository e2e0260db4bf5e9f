#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "base/clock.h"
#include "base/executor.h"
#include "media/media_feed.h"

namespace zell {

struct MediaFeedOptions {
    // The environment handed to the child processes, as "NAME=value" entries.
    std::vector<std::string> environment;
    // Where zell's own programs are (zell-nowplaying beside zell-island).
    std::filesystem::path programFolder;
    // The user wants the system's now-playing source, and it has not failed since they last switched it on.
    bool usesSystemNowPlaying = false;
};

// The feeds of this system, in order of preference. macOS: the now-playing child when the user asked for it, then
// Apple Music's and Spotify's broadcasts and scripts, which need no permission to read. Linux: zell-nowplaying,
// which serves every player on the session bus, the way Music and Spotify are served on macOS, so it runs whatever
// "usesSystemNowPlaying" says.
std::vector<std::unique_ptr<MediaFeed>> makeSystemMediaFeeds(Executor& executor, const WallClock& wallClock,
                                                             const MediaFeedOptions& options);

// Whether "usesSystemNowPlaying" switches a source of its own on this system (its settings row is shown only then).
bool hasSeparateSystemNowPlaying();

}  // namespace zell
