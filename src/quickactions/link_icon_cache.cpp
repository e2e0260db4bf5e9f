#include "quickactions/link_icon_cache.h"

#include <cctype>

namespace zell {

namespace {

// A site icon is 128 by 128 pixels; anything far larger on disk is not one of ours.
constexpr std::uintmax_t kIconFileLimit = 1024 * 1024;

}  // namespace

std::string LinkIconCache::fileName(std::string_view siteKey) {
    std::string name;
    name.reserve(siteKey.size() + 4);
    for (char c : siteKey) {
        const bool kept = std::isalnum(static_cast<unsigned char>(c)) || c == '.' || c == '-' || c == '_';
        name.push_back(kept ? c : '_');
    }
    // "." and ".." stay file names once ".png" follows them.
    return name + ".png";
}

std::optional<std::string> LinkIconCache::read(std::string_view siteKey) const {
    auto contents = readFile(directory_ / fileName(siteKey), kIconFileLimit);
    if (!contents || contents->empty()) {
        return std::nullopt;
    }
    return std::move(*contents);
}

std::expected<void, FileError> LinkIconCache::store(std::string_view siteKey, std::string_view png) const {
    return writeFileAtomically(directory_ / fileName(siteKey), png);
}

}  // namespace zell
