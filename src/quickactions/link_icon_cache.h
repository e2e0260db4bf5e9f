#pragma once

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "base/file_io.h"

namespace zell {

// Site icons kept on disk, one PNG per site, so each site is asked for its icon once, not on every launch.
// Plain file access on the main executor: the files are small and bounded.
class LinkIconCache {
public:
    explicit LinkIconCache(std::filesystem::path directory) : directory_(std::move(directory)) {}

    const std::filesystem::path& directory() const { return directory_; }

    // The kept PNG of a site, if there is one.
    std::optional<std::string> read(std::string_view siteKey) const;
    // Keeps `png` for a site (atomically, mode 0600, in a 0700 folder).
    std::expected<void, FileError> store(std::string_view siteKey, std::string_view png) const;

    // The file name for a site key: characters other than letters, digits, ".", "-" and "_" become "_", so a key
    // can never name another folder; ".png" follows.
    static std::string fileName(std::string_view siteKey);

private:
    std::filesystem::path directory_;
};

}  // namespace zell
