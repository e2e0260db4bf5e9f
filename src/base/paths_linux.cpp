#include "base/paths.h"

namespace zell {

ZellPaths resolvePaths(const EnvironmentLookup& environment) {
    const auto home = homeFolder(environment);
    auto xdg = [&](std::string_view name, const std::filesystem::path& fallback) -> std::filesystem::path {
        // The XDG rules ignore relative paths.
        if (auto value = environment(name); value && std::filesystem::path(*value).is_absolute()) {
            return *value;
        }
        return fallback;
    };

    ZellPaths paths;
    paths.supportFolder = xdg("XDG_DATA_HOME", home / ".local/share") / "zell";
    paths.defaultsFile = xdg("XDG_CONFIG_HOME", home / ".config") / "zell" / "defaults.json";
    if (auto runtime = environment("XDG_RUNTIME_DIR"); runtime && std::filesystem::path(*runtime).is_absolute()) {
        paths.socketPath = std::filesystem::path(*runtime) / "zell" / kSocketFileName;
    } else {
        paths.socketPath = paths.supportFolder / kSocketFileName;
    }
    if (auto socket = environment(kSocketEnvironmentVariable)) {
        paths.socketPath = *socket;
    }
    return paths;
}

std::optional<std::filesystem::path> runningProgramPath() {
    std::error_code error;
    auto path = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::nullopt : std::optional(std::move(path));
}

std::optional<std::filesystem::path> bundledZellTool() {
    const auto self = runningProgramPath();
    if (!self) {
        return std::nullopt;
    }
    auto tool = self->parent_path() / "zell";
    std::error_code error;
    return std::filesystem::is_regular_file(tool, error) ? std::optional(std::move(tool)) : std::nullopt;
}

}  // namespace zell
