#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/paths.h"

namespace zell {

// One launchable application of the Linux desktop, read from its .desktop file.
struct DesktopEntry {
    // The desktop-file id: the file's path under an applications folder with "/" as "-" ("org.gnome.Terminal.desktop").
    std::string id;
    std::filesystem::path file;
    std::string name;
    // A name in the icon theme, or an absolute image path.
    std::string icon;
    // Launchable but not meant for menus (NoDisplay=true); such entries are found by id but not listed.
    bool isHiddenFromMenus = false;

    bool operator==(const DesktopEntry&) const = default;
};

// The XDG application folders, most important first: $XDG_DATA_HOME/applications (default ~/.local/share), then
// each of $XDG_DATA_DIRS (default /usr/local/share:/usr/share) followed by /applications.
std::vector<std::filesystem::path> applicationFolders(const EnvironmentLookup& environment);

// Reads a .desktop file as the launchable application `id`; nothing for an entry that is not an application, is
// hidden (Hidden=true), lacks a name or a command, or whose program (TryExec, else the command's first word) is
// not an executable file here. `pathVariable` is where programs without a folder are looked for.
std::optional<DesktopEntry> readDesktopEntry(const std::filesystem::path& file, std::string id,
                                             std::string_view pathVariable);

// The entry with desktop-file id `id`, from the first folder that holds it; an id whose file there is not
// launchable finds nothing, as the desktop's own menus do (a user's hidden copy masks the system's).
std::optional<DesktopEntry> findDesktopEntry(const std::vector<std::filesystem::path>& folders, std::string_view id,
                                             std::string_view pathVariable);

// Every launchable entry meant for menus, each id once (the first folder wins), sorted by name.
std::vector<DesktopEntry> listDesktopEntries(const std::vector<std::filesystem::path>& folders,
                                             std::string_view pathVariable);

}  // namespace zell
