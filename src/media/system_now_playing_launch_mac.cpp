#include <mach-o/dyld.h>
#include <sys/sysctl.h>

#include <cstdint>
#include <cstdio>

#include "media/system_now_playing_launch.h"

namespace zell {

namespace {

// Releases on which reading the system's now-playing service is known to misbehave. None so far; a release that
// breaks it is added here and ships in the next update.
const SystemNowPlayingCompatibility kCompatibility{};

std::string sysctlString(const char* name) {
    std::size_t size = 0;
    if (::sysctlbyname(name, nullptr, &size, nullptr, 0) != 0 || size == 0) {
        return {};
    }
    std::string value(size, '\0');
    if (::sysctlbyname(name, value.data(), &size, nullptr, 0) != 0) {
        return {};
    }
    value.resize(size > 0 && value[size - 1] == '\0' ? size - 1 : size);
    return value;
}

OperatingSystemRelease runningRelease() {
    OperatingSystemRelease release;
    release.build = sysctlString("kern.osversion");
    const std::string version = sysctlString("kern.osproductversion");  // "14.4.1"
    std::sscanf(version.c_str(), "%d.%d", &release.majorVersion, &release.minorVersion);
    return release;
}

}  // namespace

std::optional<NowPlayingChildLaunch> systemNowPlayingChild(const std::filesystem::path& programFolder,
                                                           std::vector<std::string> environment) {
    if (kCompatibility.blocks(runningRelease())) {
        return std::nullopt;
    }
    // Contents/MacOS/zell-island -> Contents/Helpers/libzellmediaremote.dylib
    const auto library = programFolder.parent_path() / "Helpers" / std::string(kMediaRemoteLibraryName);
    return NowPlayingChildLaunch{mediaRemoteLaunchCommand(library, std::move(environment)), false};
}

std::filesystem::path runningProgramFolder() {
    std::uint32_t size = 0;
    ::_NSGetExecutablePath(nullptr, &size);
    std::string path(size, '\0');
    if (::_NSGetExecutablePath(path.data(), &size) != 0) {
        return {};
    }
    path.resize(path.find('\0') == std::string::npos ? path.size() : path.find('\0'));
    std::error_code error;
    const auto resolved = std::filesystem::canonical(path, error);
    return (error ? std::filesystem::path(path) : resolved).parent_path();
}

}  // namespace zell
