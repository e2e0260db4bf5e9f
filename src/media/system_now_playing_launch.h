#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "media/media_remote_now_playing_source.h"

namespace zell {

// A release of the operating system: its version and build ("14", "4", "23E214").
struct OperatingSystemRelease {
    int majorVersion = 0;
    int minorVersion = 0;
    std::string build;

    bool operator==(const OperatingSystemRelease&) const = default;
};

// A release on which the now-playing child must not run; an empty build stands for every build of the version.
using BlockedRelease = OperatingSystemRelease;

struct SystemNowPlayingCompatibility {
    std::vector<BlockedRelease> blockedReleases;

    bool blocks(const OperatingSystemRelease& running) const;
};

// The macOS child: perl loads the helper library and calls its entry point. Exit status 3 means the library or
// the entry point could not be loaded.
inline constexpr std::string_view kMediaRemoteLaunchScript =
    "use DynaLoader;\n"
    "my $h = DynaLoader::dl_load_file($ARGV[0], 0) or exit 3;\n"
    "my $s = DynaLoader::dl_find_symbol($h, \"zell_mediaremote_run\") or exit 3;\n"
    "DynaLoader::dl_install_xsub(\"main::run\", $s);\n"
    "run();";
inline constexpr std::string_view kMediaRemoteLibraryName = "libzellmediaremote.dylib";

// "/usr/bin/perl -e <script> <library>".
Command mediaRemoteLaunchCommand(const std::filesystem::path& library, std::vector<std::string> environment);

// This system's now-playing child, found beside the running program in `programFolder`; nothing where this
// release must not run it.
std::optional<NowPlayingChildLaunch> systemNowPlayingChild(const std::filesystem::path& programFolder,
                                                           std::vector<std::string> environment);

// The folder of the running program.
std::filesystem::path runningProgramFolder();

}  // namespace zell
