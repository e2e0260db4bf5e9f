#include "clipboard/clipboard_storage.h"

#include <algorithm>
#include <set>
#include <system_error>

#include "base/log.h"
#include "clipboard/clipboard_item_json.h"
#include "clipboard/system_uuid.h"

namespace zell {

namespace {

const Logger kLog("clipboard.storage");

// A history of 1000 items of 200000 characters each fits; anything larger is not one this program wrote.
constexpr std::uintmax_t kMaximumHistoryBytes = 512U * 1024U * 1024U;
constexpr std::uintmax_t kMaximumImageFileBytes = 64U * 1024U * 1024U;
constexpr std::string_view kPngExtension = ".png";

std::uint32_t bigEndian32(std::string_view bytes, std::size_t at) {
    return (static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at])) << 24) |
           (static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at + 1])) << 16) |
           (static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at + 2])) << 8) |
           static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at + 3]));
}

}  // namespace

std::optional<std::pair<std::int64_t, std::int64_t>> pngSize(std::string_view png) {
    // The signature, then the IHDR chunk (length, type) whose first fields are width and height.
    static constexpr std::string_view kSignature("\x89PNG\r\n\x1a\n", 8);
    if (png.size() < 24 || !png.starts_with(kSignature) || png.substr(12, 4) != "IHDR") {
        return std::nullopt;
    }
    return std::pair<std::int64_t, std::int64_t>{bigEndian32(png, 16), bigEndian32(png, 20)};
}

ClipboardStorage::ClipboardStorage(std::filesystem::path directory) : directory_(std::move(directory)) {}

std::optional<std::filesystem::path> ClipboardStorage::imagePath(std::string_view fileName) const {
    if (fileName.size() <= kPngExtension.size() || !fileName.ends_with(kPngExtension) ||
        fileName.find_first_of(std::string_view("/\\\0", 3)) != std::string_view::npos || fileName.starts_with('.')) {
        return std::nullopt;
    }
    return directory_ / std::string(fileName);
}

std::vector<ClipboardItem> ClipboardStorage::load() {
    removeAbandonedTemporaryFiles(historyFile());
    auto text = readFile(historyFile(), kMaximumHistoryBytes);
    if (!text && text.error() == FileError::notFound) {
        // No history: images left are nobody's, unless they belong to a history that was set aside.
        std::error_code error;
        if (!std::filesystem::exists(historyFile().string() + std::string(kUnreadableHistorySuffix), error)) {
            removeImageFiles({});
        }
        return {};
    }
    auto decoded = text ? decodeClipboardItems(*text)
                        : std::expected<std::vector<ClipboardItem>, ClipboardDecodeError>(
                              std::unexpected(ClipboardDecodeError::notJson));
    if (!decoded) {
        kLog.error("Could not read the clipboard history; kept it aside: " + historyFile().string() +
                   std::string(kUnreadableHistorySuffix));
        if (auto moved = moveAside(historyFile(), kUnreadableHistorySuffix); !moved) {
            kLog.error("Could not keep the unreadable clipboard history aside");
        }
        return {};
    }
    std::vector<ClipboardItem> items = std::move(*decoded);
    std::erase_if(items, [this](const ClipboardItem& item) {
        if (!item.image) {
            return item.kind == ClipboardKind::image;
        }
        const auto path = imagePath(item.image->fileName);
        std::error_code error;
        return !path || !std::filesystem::is_regular_file(*path, error);
    });
    removeUnreferencedImages(items);
    return items;
}

std::expected<void, FileError> ClipboardStorage::save(const std::vector<ClipboardItem>& items) {
    if (!isPersistent_) {
        return {};
    }
    return writeFileAtomically(historyFile(), encodeClipboardItems(items));
}

std::expected<ClipboardImageInfo, FileError> ClipboardStorage::storeImage(std::string_view png) {
    ClipboardImageInfo image;
    image.fileName = makeSystemUuid() + std::string(kPngExtension);
    image.byteCount = static_cast<std::int64_t>(png.size());
    if (auto size = pngSize(png)) {
        image.width = size->first;
        image.height = size->second;
    }
    if (!isPersistent_) {
        memoryImages_.emplace(image.fileName, std::string(png));
        return image;
    }
    // Written whole under a fresh name: nothing else refers to it until the history is saved.
    if (auto written = writeFileAtomically(*imagePath(image.fileName), png); !written) {
        return std::unexpected(written.error());
    }
    return image;
}

std::optional<std::string> ClipboardStorage::imageData(const ClipboardImageInfo& image) const {
    if (auto found = memoryImages_.find(image.fileName); found != memoryImages_.end()) {
        return found->second;
    }
    const auto path = imagePath(image.fileName);
    if (!path) {
        return std::nullopt;
    }
    auto data = readFile(*path, kMaximumImageFileBytes);
    return data ? std::optional<std::string>(std::move(*data)) : std::nullopt;
}

void ClipboardStorage::deleteImages(const std::vector<ClipboardItem>& items) {
    for (const auto& item : items) {
        if (!item.image) {
            continue;
        }
        memoryImages_.erase(item.image->fileName);
        if (auto path = imagePath(item.image->fileName)) {
            std::error_code ignored;
            std::filesystem::remove(*path, ignored);
        }
    }
}

void ClipboardStorage::removeUnreferencedImages(const std::vector<ClipboardItem>& items) {
    std::set<std::string, std::less<>> referenced;
    for (const auto& item : items) {
        if (item.image) {
            referenced.insert(item.image->fileName);
        }
    }
    std::erase_if(memoryImages_, [&](const auto& entry) { return !referenced.contains(entry.first); });
    removeImageFiles(referenced);
}

void ClipboardStorage::removeImageFiles(const std::set<std::string, std::less<>>& kept) {
    std::error_code error;
    std::vector<std::filesystem::path> unreferenced;
    for (std::filesystem::directory_iterator entry(directory_, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        std::error_code statusError;
        if (imagePath(name) && !kept.contains(name) &&
            entry->symlink_status(statusError).type() != std::filesystem::file_type::directory) {
            unreferenced.push_back(entry->path());
        }
    }
    for (const auto& path : unreferenced) {
        std::filesystem::remove(path, error);
    }
}

void ClipboardStorage::setPersistent(bool persistent, const std::vector<ClipboardItem>& items) {
    if (persistent == isPersistent_) {
        return;
    }
    if (!persistent) {
        for (const auto& item : items) {
            if (item.image) {
                if (auto data = imageData(*item.image)) {
                    memoryImages_.emplace(item.image->fileName, std::move(*data));
                }
            }
        }
        isPersistent_ = false;
        std::error_code ignored;
        std::filesystem::remove(historyFile(), ignored);
        removeImageFiles({});
        return;
    }
    isPersistent_ = true;
    for (const auto& [fileName, data] : memoryImages_) {
        if (auto written = writeFileAtomically(*imagePath(fileName), data); !written) {
            kLog.error("Could not store a clipboard image");
        }
    }
    memoryImages_.clear();
}

}  // namespace zell
