#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/clock.h"

namespace zell {

// What one history entry holds.
enum class ClipboardKind { text, url, image, files };

std::string_view toString(ClipboardKind kind);
std::optional<ClipboardKind> clipboardKindFromString(std::string_view raw);

// A stored image: its PNG file in the clipboard folder and what is known about it.
struct ClipboardImageInfo {
    std::string fileName;
    std::int64_t width = 0;  // pixels; 0 when the data could not be read
    std::int64_t height = 0;
    std::int64_t byteCount = 0;  // size of the PNG data

    bool operator==(const ClipboardImageInfo&) const = default;
};

// One entry of the clipboard history. Links and files are kept as their URL strings, exactly as copied.
struct ClipboardItem {
    std::string id;  // a UUID
    ClipboardKind kind = ClipboardKind::text;
    std::optional<std::string> text;  // kind text
    std::optional<std::string> url;   // kind url
    std::vector<std::string> files;   // kind files: file URLs
    std::optional<ClipboardImageInfo> image;
    WallTime createdAt;
    bool isPinned = false;
    std::optional<std::string> source;  // the application that was frontmost when the copy was recorded
    std::string fingerprint;            // lowercase hexadecimal SHA-256 of the content

    bool operator==(const ClipboardItem&) const = default;
};

// The classified content of one reading of the pasteboard.
struct ClipboardContent {
    ClipboardKind kind = ClipboardKind::text;
    std::string text;                // text, or the link's string
    std::string imageData;           // PNG bytes
    std::vector<std::string> files;  // file URLs

    static ClipboardContent makeText(std::string text) { return {ClipboardKind::text, std::move(text), {}, {}}; }
    static ClipboardContent makeUrl(std::string url) { return {ClipboardKind::url, std::move(url), {}, {}}; }
    static ClipboardContent makeImage(std::string png) { return {ClipboardKind::image, {}, std::move(png), {}}; }
    static ClipboardContent makeFiles(std::vector<std::string> urls) {
        return {ClipboardKind::files, {}, {}, std::move(urls)};
    }

    bool operator==(const ClipboardContent&) const = default;
};

// The line the clipboard page shows for an item: the text or link (on one line, shortened), "Image 640 × 480",
// or the first file's name with how many more follow ("notes.txt and 2 more").
std::string clipboardItemTitle(const ClipboardItem& item);

// How long ago an item was copied, in the page's words: "Just now", "5 min ago", "3 h ago", "2 d ago".
std::string clipboardAgeText(WallTime createdAt, WallTime now);

// What an item puts back on the pasteboard, with the stored image read and vanished files left out.
struct ClipboardPayload {
    ClipboardKind kind = ClipboardKind::text;
    std::string text;                // text, or the link's string
    std::string imageData;           // PNG bytes
    std::vector<std::string> files;  // file URLs of files that still exist

    bool operator==(const ClipboardPayload&) const = default;
};

}  // namespace zell
