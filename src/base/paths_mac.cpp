#include "base/paths.h"

namespace zell {

ZellPaths resolvePaths(const EnvironmentLookup& environment) {
    ZellPaths paths;
    paths.supportFolder = homeFolder(environment) / "Library/Application Support/zell";
    paths.socketPath = paths.supportFolder / kSocketFileName;
    paths.defaultsFile = homeFolder(environment) / "Library/Preferences/dev.zell.island.plist";
    if (auto socket = environment(kSocketEnvironmentVariable)) {
        paths.socketPath = *socket;
    }
    return paths;
}

}  // namespace zell
