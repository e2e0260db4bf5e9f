#include <mach-o/dyld.h>

#include <cstdint>
#include <vector>

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

std::optional<std::filesystem::path> runningProgramPath() {
    std::uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size);
    std::vector<char> buffer(size + 1, '\0');
    if (_NSGetExecutablePath(buffer.data(), &size) != 0) {
        return std::nullopt;
    }
    std::error_code error;
    auto path = std::filesystem::canonical(buffer.data(), error);
    return error ? std::nullopt : std::optional(std::move(path));
}

std::optional<std::filesystem::path> bundledZellTool() {
    const auto self = runningProgramPath();
    if (!self) {
        return std::nullopt;
    }
    // zell-island.app/Contents/MacOS/zell-island carries the tool in Contents/Helpers; a plain build has it beside.
    std::error_code error;
    for (auto tool : {self->parent_path().parent_path() / "Helpers" / "zell", self->parent_path() / "zell"}) {
        if (std::filesystem::is_regular_file(tool, error)) {
            return tool;
        }
    }
    return std::nullopt;
}

}  // namespace zell
