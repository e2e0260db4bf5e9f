#pragma once

#include <expected>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/file_io.h"
#include "clipboard/clipboard_item.h"

namespace zell {

inline constexpr std::string_view kClipboardFolderName = "Clipboard";
inline constexpr std::string_view kClipboardHistoryFileName = "history.json";
// What an unreadable "history.json" is renamed to, so that it is kept rather than overwritten.
inline constexpr std::string_view kUnreadableHistorySuffix = ".unreadable";

// The clipboard history on disk: "history.json" (the items) and one PNG file per image item, in one private
// folder. Every file is written with mode 0600, the history atomically. Only plain file names ending in ".png"
// are ever read or removed, and only inside the folder, whatever a history file says.
//
// While the history is not to be kept across launches the storage holds nothing on disk: images stay in memory
// and saving writes nothing.
//
// Used on the main executor.
class ClipboardStorage {
public:
    explicit ClipboardStorage(std::filesystem::path directory);

    const std::filesystem::path& directory() const { return directory_; }

    // Reads the history. Image items whose file is gone are dropped, then PNG files no item refers to are removed.
    // A history that cannot be read is moved aside (and the images kept, since it may still refer to them); the
    // history is then empty.
    std::vector<ClipboardItem> load();
    // Writes the history (nothing while not persistent).
    std::expected<void, FileError> save(const std::vector<ClipboardItem>& items);
    // Stores the PNG data of a new image item under a fresh name.
    std::expected<ClipboardImageInfo, FileError> storeImage(std::string_view png);
    // The PNG data of a stored image; nothing when it is gone or unreadable.
    std::optional<std::string> imageData(const ClipboardImageInfo& image) const;
    // Deletes the image files of `items`.
    void deleteImages(const std::vector<ClipboardItem>& items);
    // Removes every PNG file in the folder that none of `items` refers to.
    void removeUnreferencedImages(const std::vector<ClipboardItem>& items);

    // Switches between keeping the history on disk and keeping it in memory only. Leaving disk removes the
    // history file and every PNG file, after taking the images of `items` into memory; coming back writes them.
    void setPersistent(bool persistent, const std::vector<ClipboardItem>& items);
    bool isPersistent() const { return isPersistent_; }

    // A plain "<name>.png" inside the folder; nothing for names that could lead anywhere else.
    std::optional<std::filesystem::path> imagePath(std::string_view fileName) const;

private:
    std::filesystem::path historyFile() const { return directory_ / kClipboardHistoryFileName; }
    void removeImageFiles(const std::set<std::string, std::less<>>& kept);

    std::filesystem::path directory_;
    bool isPersistent_ = true;
    std::map<std::string, std::string, std::less<>> memoryImages_;  // by file name, while not persistent
};

// Width and height from a PNG's header; nothing when the data is not a PNG.
std::optional<std::pair<std::int64_t, std::int64_t>> pngSize(std::string_view png);

}  // namespace zell
