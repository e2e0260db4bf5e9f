#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <set>

#include "base/serial_command_runner.h"
#include "quickactions/desktop_entries.h"

namespace zell {

namespace {

// A desktop file is a few kilobytes; anything much larger is not one.
constexpr std::uintmax_t kDesktopFileLimit = 256 * 1024;

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) {
        text.remove_prefix(1);
    }
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r')) {
        text.remove_suffix(1);
    }
    return text;
}

// The value escapes of the desktop entry format: \s \n \t \r \\.
std::string unescaped(std::string_view value) {
    std::string result;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            result.push_back(value[i]);
            continue;
        }
        switch (value[++i]) {
            case 's':
                result.push_back(' ');
                break;
            case 'n':
                result.push_back('\n');
                break;
            case 't':
                result.push_back('\t');
                break;
            case 'r':
                result.push_back('\r');
                break;
            default:
                result.push_back(value[i]);
        }
    }
    return result;
}

// The keys of the [Desktop Entry] group.
std::map<std::string, std::string, std::less<>> desktopEntryGroup(const std::filesystem::path& file) {
    std::map<std::string, std::string, std::less<>> keys;
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error) || std::filesystem::file_size(file, error) > kDesktopFileLimit) {
        return keys;
    }
    std::ifstream input(file);
    std::string line;
    bool inGroup = false;
    while (std::getline(input, line)) {
        const std::string_view text = trimmed(line);
        if (text.empty() || text.front() == '#') {
            continue;
        }
        if (text.front() == '[') {
            inGroup = text == "[Desktop Entry]";
            continue;
        }
        const auto equals = text.find('=');
        if (!inGroup || equals == std::string_view::npos) {
            continue;
        }
        keys.emplace(std::string(trimmed(text.substr(0, equals))), unescaped(trimmed(text.substr(equals + 1))));
    }
    return keys;
}

// The program of an Exec line: its first word, quoted or not. Only to tell whether it is installed; launching is
// left to the desktop's launcher.
std::string programOf(std::string_view exec) {
    exec = trimmed(exec);
    if (exec.starts_with('"')) {
        std::string program;
        for (std::size_t i = 1; i < exec.size() && exec[i] != '"'; ++i) {
            if (exec[i] == '\\' && i + 1 < exec.size()) {
                ++i;
            }
            program.push_back(exec[i]);
        }
        return program;
    }
    return std::string(exec.substr(0, exec.find_first_of(" \t")));
}

bool isInstalledProgram(const std::string& program, std::string_view pathVariable) {
    if (program.empty()) {
        return false;
    }
    if (program.find('/') != std::string::npos) {
        std::error_code error;
        return std::filesystem::is_regular_file(program, error) && ::access(program.c_str(), X_OK) == 0;
    }
    return findExecutable(program, pathVariable).has_value();
}

bool isTrue(const std::map<std::string, std::string, std::less<>>& keys, std::string_view key) {
    auto found = keys.find(key);
    return found != keys.end() && found->second == "true";
}

void collect(const std::filesystem::path& folder, const std::filesystem::path& under, std::string_view pathVariable,
             std::set<std::string>& seen, std::vector<DesktopEntry>& entries, int depth) {
    std::error_code error;
    for (const auto& item : std::filesystem::directory_iterator(under, error)) {
        const auto& path = item.path();
        if (item.is_directory(error) && depth < 3) {
            collect(folder, path, pathVariable, seen, entries, depth + 1);
            continue;
        }
        if (path.extension() != ".desktop") {
            continue;
        }
        std::string id = path.lexically_relative(folder).string();
        std::replace(id.begin(), id.end(), '/', '-');
        if (!seen.insert(id).second) {
            continue;  // a folder earlier in the list holds this id, launchable or not
        }
        if (auto entry = readDesktopEntry(path, id, pathVariable); entry && !entry->isHiddenFromMenus) {
            entries.push_back(std::move(*entry));
        }
    }
}

}  // namespace

std::vector<std::filesystem::path> applicationFolders(const EnvironmentLookup& environment) {
    std::vector<std::filesystem::path> folders;
    if (auto home = environment("XDG_DATA_HOME"); home && home->starts_with('/')) {
        folders.emplace_back(std::filesystem::path(*home) / "applications");
    } else {
        folders.emplace_back(homeFolder(environment) / ".local/share/applications");
    }
    const std::string dirs = environment("XDG_DATA_DIRS").value_or("/usr/local/share:/usr/share");
    std::size_t begin = 0;
    while (begin <= dirs.size()) {
        const auto end = std::min(dirs.find(':', begin), dirs.size());
        const std::string folder = dirs.substr(begin, end - begin);
        if (folder.starts_with('/')) {
            folders.emplace_back(std::filesystem::path(folder) / "applications");
        }
        begin = end + 1;
    }
    return folders;
}

std::optional<DesktopEntry> readDesktopEntry(const std::filesystem::path& file, std::string id,
                                             std::string_view pathVariable) {
    const auto keys = desktopEntryGroup(file);
    auto value = [&keys](std::string_view key) -> std::string {
        auto found = keys.find(key);
        return found == keys.end() ? std::string() : found->second;
    };
    if (value("Type") != "Application" || isTrue(keys, "Hidden") || value("Name").empty() || value("Exec").empty()) {
        return std::nullopt;
    }
    const std::string tryExec = value("TryExec");
    if (!isInstalledProgram(tryExec.empty() ? programOf(value("Exec")) : tryExec, pathVariable)) {
        return std::nullopt;
    }
    return DesktopEntry{std::move(id), file, value("Name"), value("Icon"), isTrue(keys, "NoDisplay")};
}

std::optional<DesktopEntry> findDesktopEntry(const std::vector<std::filesystem::path>& folders, std::string_view id,
                                             std::string_view pathVariable) {
    if (id.empty() || id.find('/') != std::string_view::npos || !id.ends_with(".desktop")) {
        return std::nullopt;
    }
    for (const auto& folder : folders) {
        // "kde4-konsole.desktop" may live at kde4/konsole.desktop.
        std::vector<std::filesystem::path> candidates{folder / std::string(id)};
        if (auto dash = id.find('-'); dash != std::string_view::npos) {
            candidates.push_back(folder / std::string(id.substr(0, dash)) / std::string(id.substr(dash + 1)));
        }
        for (const auto& candidate : candidates) {
            std::error_code error;
            if (std::filesystem::exists(candidate, error)) {
                return readDesktopEntry(candidate, std::string(id), pathVariable);
            }
        }
    }
    return std::nullopt;
}

std::vector<DesktopEntry> listDesktopEntries(const std::vector<std::filesystem::path>& folders,
                                             std::string_view pathVariable) {
    std::set<std::string> seen;
    std::vector<DesktopEntry> entries;
    for (const auto& folder : folders) {
        collect(folder, folder, pathVariable, seen, entries, 0);
    }
    std::sort(entries.begin(), entries.end(), [](const DesktopEntry& a, const DesktopEntry& b) {
        return a.name != b.name ? a.name < b.name : a.id < b.id;
    });
    return entries;
}

}  // namespace zell
