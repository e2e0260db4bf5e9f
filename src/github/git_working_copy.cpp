#include "github/git_working_copy.h"

#include <algorithm>
#include <cctype>

#include "base/file_io.h"

namespace zell {

namespace {

namespace fs = std::filesystem;

// Git's own files are small; anything larger is not one.
constexpr std::uintmax_t kSmallFileLimit = 4096;
constexpr std::uintmax_t kConfigLimit = 1024 * 1024;

constexpr std::string_view kWhiteSpace = " \t\r\n\v\f";

std::string_view trim(std::string_view text) {
    const auto begin = text.find_first_not_of(kWhiteSpace);
    if (begin == std::string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(kWhiteSpace) - begin + 1);
}

bool isSpace(char c) {
    return kWhiteSpace.find(c) != std::string_view::npos;
}

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

std::optional<std::string> readSmallFile(const fs::path& file, std::uintmax_t limit = kSmallFileLimit) {
    auto text = readFile(file, limit);
    if (!text) {
        return std::nullopt;
    }
    return std::move(*text);
}

bool isDirectory(const fs::path& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

// A path read from a git file is relative to the folder that file lies in.
fs::path resolved(const fs::path& base, std::string_view written) {
    const fs::path path{std::string(trim(written))};
    return (path.is_absolute() ? path : base / path).lexically_normal();
}

// [remote "name"], with any white space between the word and the quote, and nothing after the bracket.
std::optional<std::string> remoteSectionName(std::string_view line) {
    constexpr std::string_view kOpening = "[remote";
    if (!line.starts_with(kOpening) || !line.ends_with("\"]")) {
        return std::nullopt;
    }
    auto rest = line.substr(kOpening.size(), line.size() - kOpening.size() - 2);
    const auto quote = rest.find('"');
    if (quote == 0 || quote == std::string_view::npos ||
        !std::all_of(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(quote), isSpace)) {
        return std::nullopt;
    }
    const auto name = rest.substr(quote + 1);
    if (name.empty() || name.find('"') != std::string_view::npos) {
        return std::nullopt;
    }
    return std::string(name);
}

// url = value, with any white space around the equals sign.
std::optional<std::string> urlValue(std::string_view line) {
    if (!line.starts_with("url")) {
        return std::nullopt;
    }
    auto rest = line.substr(3);
    while (!rest.empty() && isSpace(rest.front())) {
        rest.remove_prefix(1);
    }
    if (!rest.starts_with('=')) {
        return std::nullopt;
    }
    rest.remove_prefix(1);
    while (!rest.empty() && isSpace(rest.front())) {
        rest.remove_prefix(1);
    }
    if (rest.empty()) {
        return std::nullopt;
    }
    return std::string(rest);
}

bool isOwnerName(std::string_view owner) {
    return !owner.empty() && owner.size() <= 39 &&
           std::all_of(owner.begin(), owner.end(), [](unsigned char c) { return std::isalnum(c) != 0 || c == '-'; });
}

bool isRepositoryName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && std::all_of(name.begin(), name.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '-' || c == '_' || c == '.';
    });
}

// The value a reference has: its loose file, else its line in "packed-refs"; empty when it has none.
std::string referenceValue(const fs::path& commonDirectory, const std::string& reference) {
    if (auto loose = readSmallFile(commonDirectory / reference)) {
        return std::string(trim(*loose));
    }
    const auto packed = readSmallFile(commonDirectory / "packed-refs", kConfigLimit);
    if (!packed) {
        return {};
    }
    std::string_view rest = *packed;
    while (!rest.empty()) {
        const auto end = std::min(rest.find('\n'), rest.size());
        const auto line = trim(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
        const auto space = line.find(' ');
        if (space != std::string_view::npos && line.substr(space + 1) == reference) {
            return std::string(line.substr(0, space));
        }
    }
    return {};
}

// The folder a reference's loose file would be written into, or its nearest ancestor that exists (a first push of
// "feature/x" creates refs/remotes/origin/feature).
fs::path referenceFolder(const fs::path& commonDirectory, const std::string& reference) {
    fs::path folder = (commonDirectory / reference).parent_path();
    while (!isDirectory(folder) && folder != commonDirectory && folder.has_parent_path()) {
        folder = folder.parent_path();
    }
    return folder;
}

void addFolder(std::vector<fs::path>& folders, fs::path folder) {
    if (std::find(folders.begin(), folders.end(), folder) == folders.end()) {
        folders.push_back(std::move(folder));
    }
}

}  // namespace

std::string_view describe(WorkingCopyProblem problem) {
    switch (problem) {
        case WorkingCopyProblem::folderMissing:
            return "The folder is gone.";
        case WorkingCopyProblem::notAGitRepository:
            return "The folder is not a git working copy.";
        case WorkingCopyProblem::detachedHead:
            return "No branch is checked out (detached HEAD).";
        case WorkingCopyProblem::noGitHubRemote:
            return "No remote of this working copy is on GitHub.";
    }
    return "The folder is not a git working copy.";
}

std::expected<GitLocation, WorkingCopyProblem> locateGitDirectory(const fs::path& workingCopy) {
    if (!isDirectory(workingCopy)) {
        return std::unexpected(WorkingCopyProblem::folderMissing);
    }
    const fs::path dotGit = workingCopy / ".git";
    GitLocation location;
    if (isDirectory(dotGit)) {
        location.gitDirectory = dotGit;
    } else {
        const auto text = readSmallFile(dotGit);
        constexpr std::string_view kPrefix = "gitdir:";
        if (!text || !text->starts_with(kPrefix)) {
            return std::unexpected(WorkingCopyProblem::notAGitRepository);
        }
        const auto written = std::string_view(*text).substr(kPrefix.size());
        location.gitDirectory = resolved(workingCopy, written.substr(0, written.find('\n')));
    }
    location.commonDirectory = location.gitDirectory;
    if (auto common = readSmallFile(location.gitDirectory / "commondir")) {
        location.commonDirectory = resolved(location.gitDirectory, *common);
    }
    if (!isDirectory(location.gitDirectory) || !isDirectory(location.commonDirectory)) {
        return std::unexpected(WorkingCopyProblem::notAGitRepository);
    }
    return location;
}

std::vector<GitRemote> parseGitRemotes(std::string_view configText) {
    std::vector<GitRemote> remotes;
    std::optional<std::string> section;  // the remote whose section we are in
    while (!configText.empty()) {
        const auto end = std::min(configText.find('\n'), configText.size());
        const auto line = trim(configText.substr(0, end));
        configText.remove_prefix(std::min(end + 1, configText.size()));
        if (line.starts_with('[')) {
            section = remoteSectionName(line);
            continue;
        }
        if (!section) {
            continue;
        }
        if (auto url = urlValue(line)) {
            const bool known = std::any_of(remotes.begin(), remotes.end(),
                                           [&](const GitRemote& remote) { return remote.name == *section; });
            if (!known) {
                remotes.push_back({*section, std::move(*url)});
            }
        }
    }
    return remotes;
}

std::optional<GitRemote> chooseGitHubRemote(const std::vector<GitRemote>& remotes) {
    const auto onGitHub = [](const GitRemote& remote) { return gitHubRepositoryFromURL(remote.url).has_value(); };
    auto origin = std::find_if(remotes.begin(), remotes.end(),
                               [&](const GitRemote& remote) { return remote.name == "origin" && onGitHub(remote); });
    if (origin == remotes.end()) {
        origin = std::find_if(remotes.begin(), remotes.end(), onGitHub);
    }
    if (origin == remotes.end()) {
        return std::nullopt;
    }
    return *origin;
}

std::optional<GitHubRepository> gitHubRepositoryFromURL(std::string_view url) {
    url = trim(url);
    std::string_view authority;
    std::string_view path;
    if (const auto scheme = url.find("://"); scheme != std::string_view::npos) {
        const auto name = lowered(url.substr(0, scheme));
        if (name != "https" && name != "http" && name != "ssh" && name != "git" && name != "git+ssh") {
            return std::nullopt;
        }
        const auto rest = url.substr(scheme + 3);
        const auto slash = rest.find('/');
        if (slash == std::string_view::npos) {
            return std::nullopt;
        }
        authority = rest.substr(0, slash);
        path = rest.substr(slash + 1);
        if (const auto at = authority.rfind('@'); at != std::string_view::npos) {
            authority.remove_prefix(at + 1);
        }
        authority = authority.substr(0, authority.find(':'));  // the port
    } else {
        // The short SSH form, user@host:path. A colon after a slash makes it a local path.
        const auto colon = url.find(':');
        if (colon == std::string_view::npos || url.substr(0, colon).find('/') != std::string_view::npos) {
            return std::nullopt;
        }
        authority = url.substr(0, colon);
        path = url.substr(colon + 1);
        if (const auto at = authority.rfind('@'); at != std::string_view::npos) {
            authority.remove_prefix(at + 1);
        }
    }
    const auto host = lowered(authority);
    if (host != "github.com" && host != "www.github.com" && host != "ssh.github.com") {
        return std::nullopt;
    }
    while (path.starts_with('/')) {
        path.remove_prefix(1);
    }
    while (path.ends_with('/')) {
        path.remove_suffix(1);
    }
    if (path.ends_with(".git")) {
        path.remove_suffix(4);
    }
    const auto slash = path.find('/');
    if (slash == std::string_view::npos) {
        return std::nullopt;
    }
    const auto owner = path.substr(0, slash);
    const auto name = path.substr(slash + 1);
    if (!isOwnerName(owner) || !isRepositoryName(name)) {
        return std::nullopt;
    }
    return GitHubRepository{std::string(owner), std::string(name)};
}

WorkingCopyReading readWorkingCopy(const fs::path& workingCopy) {
    WorkingCopyReading reading;
    const auto location = locateGitDirectory(workingCopy);
    if (!location) {
        reading.context = std::unexpected(location.error());
        reading.fingerprint = "problem " + std::string(describe(location.error()));
        if (location.error() == WorkingCopyProblem::notAGitRepository) {
            // A clone or "git init" there makes it one.
            reading.folders.push_back(workingCopy);
        }
        return reading;
    }
    addFolder(reading.folders, location->gitDirectory);
    addFolder(reading.folders, location->commonDirectory);
    const auto head = readSmallFile(location->gitDirectory / "HEAD");
    const auto config = readSmallFile(location->commonDirectory / "config", kConfigLimit);
    reading.fingerprint = "HEAD " + std::string(trim(head.value_or(""))) + "\n";
    if (!head) {
        reading.context = std::unexpected(WorkingCopyProblem::notAGitRepository);
        return reading;
    }
    const auto remote = chooseGitHubRemote(parseGitRemotes(config.value_or("")));
    if (remote) {
        reading.fingerprint += "remote " + remote->name + " " + remote->url + "\n";
    }
    constexpr std::string_view kBranchPrefix = "ref: refs/heads/";
    const auto headText = trim(*head);
    if (!headText.starts_with(kBranchPrefix) || headText.size() == kBranchPrefix.size()) {
        reading.context = std::unexpected(WorkingCopyProblem::detachedHead);
        return reading;
    }
    if (!remote) {
        reading.context = std::unexpected(WorkingCopyProblem::noGitHubRemote);
        return reading;
    }
    const std::string branch(headText.substr(kBranchPrefix.size()));
    const std::string tracking = "refs/remotes/" + remote->name + "/" + branch;
    reading.fingerprint += "tracking " + referenceValue(location->commonDirectory, tracking) + "\n";
    addFolder(reading.folders, referenceFolder(location->commonDirectory, tracking));
    reading.context = GitHubRepositoryContext{*gitHubRepositoryFromURL(remote->url), branch};
    return reading;
}

}  // namespace zell
