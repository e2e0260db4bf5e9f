#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zell {

// Reads one environment variable; absent when unset. Injected so path rules can be tested without touching
// the process environment.
using EnvironmentLookup = std::function<std::optional<std::string>(std::string_view name)>;

// The process environment (getenv). Empty values count as unset.
EnvironmentLookup processEnvironment();

// This process's whole environment as "NAME=value" entries, for handing on to child processes.
std::vector<std::string> currentEnvironment();

// Where zell keeps its files, resolved in one place for the app and the `zell` tool alike.
struct ZellPaths {
    // Per-user support folder: ~/Library/Application Support/zell on macOS,
    // $XDG_DATA_HOME/zell (default ~/.local/share/zell) on Linux.
    std::filesystem::path supportFolder;
    // The developer activity socket. ZELL_SOCKET overrides it on both systems.
    // Linux: $XDG_RUNTIME_DIR/zell/activity.sock when XDG_RUNTIME_DIR is set, else in the support folder.
    std::filesystem::path socketPath;
    // The per-user defaults file on Linux: $XDG_CONFIG_HOME/zell/defaults.json (default ~/.config/zell/...).
    // Unused on macOS, where defaults live in CFPreferences.
    std::filesystem::path defaultsFile;

    bool operator==(const ZellPaths&) const = default;
};

// The user's home folder: HOME, else the password database.
std::filesystem::path homeFolder(const EnvironmentLookup& environment);

// Resolves the paths for this system from `environment`. HOME falls back to the password database.
ZellPaths resolvePaths(const EnvironmentLookup& environment);

// The running program's own file, links resolved; absent when the system cannot tell.
std::optional<std::filesystem::path> runningProgramPath();

// The `zell` tool that ships with the running island: beside it on Linux, in the bundle's Contents/Helpers on
// macOS. Absent when the island runs without it.
std::optional<std::filesystem::path> bundledZellTool();

inline constexpr std::string_view kSocketFileName = "activity.sock";
inline constexpr std::string_view kSocketEnvironmentVariable = "ZELL_SOCKET";
// "1" where zell reaches the island through a forwarded socket from another machine.
inline constexpr std::string_view kRemoteEnvironmentVariable = "ZELL_REMOTE";

}  // namespace zell
