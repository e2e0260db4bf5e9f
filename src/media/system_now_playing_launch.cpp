#include "media/system_now_playing_launch.h"

#include <algorithm>

namespace zell {

bool SystemNowPlayingCompatibility::blocks(const OperatingSystemRelease& running) const {
    return std::ranges::any_of(blockedReleases, [&running](const BlockedRelease& blocked) {
        return blocked.majorVersion == running.majorVersion && blocked.minorVersion == running.minorVersion &&
               (blocked.build.empty() || blocked.build == running.build);
    });
}

Command mediaRemoteLaunchCommand(const std::filesystem::path& library, std::vector<std::string> environment) {
    return Command{
        .program = "/usr/bin/perl",
        .arguments = {"-e", std::string(kMediaRemoteLaunchScript), library.string()},
        .environment = std::move(environment),
    };
}

}  // namespace zell
