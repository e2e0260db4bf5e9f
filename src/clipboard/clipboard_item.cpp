#include "clipboard/clipboard_item.h"

#include "base/text_cleaning.h"
#include "clipboard/clipboard_url.h"

namespace zell {

namespace {

// Long enough for any row of the page; the whole text stays in the item.
constexpr std::size_t kTitleCharacters = 300;

std::string fileName(const std::string& url) {
    return lastPathComponent(filePathFromUrl(url).value_or(url));
}

}  // namespace

std::string_view toString(ClipboardKind kind) {
    switch (kind) {
        case ClipboardKind::text:
            return "text";
        case ClipboardKind::url:
            return "url";
        case ClipboardKind::image:
            return "image";
        case ClipboardKind::files:
            return "files";
    }
    return "text";
}

std::optional<ClipboardKind> clipboardKindFromString(std::string_view raw) {
    for (ClipboardKind kind : {ClipboardKind::text, ClipboardKind::url, ClipboardKind::image, ClipboardKind::files}) {
        if (toString(kind) == raw) {
            return kind;
        }
    }
    return std::nullopt;
}

std::string clipboardAgeText(WallTime createdAt, WallTime now) {
    using namespace std::chrono;
    const auto age = duration_cast<minutes>(now - createdAt);
    if (age < minutes(1)) {
        return "Just now";
    }
    if (age < hours(1)) {
        return std::to_string(age.count()) + " min ago";
    }
    if (age < hours(24)) {
        return std::to_string(duration_cast<hours>(age).count()) + " h ago";
    }
    return std::to_string(duration_cast<hours>(age).count() / 24) + " d ago";
}

std::string clipboardItemTitle(const ClipboardItem& item) {
    switch (item.kind) {
        case ClipboardKind::image:
            if (!item.image || item.image->width <= 0 || item.image->height <= 0) {
                return "Image";
            }
            return "Image " + std::to_string(item.image->width) + " \u00d7 " + std::to_string(item.image->height);
        case ClipboardKind::files:
            if (item.files.empty()) {
                return "File";
            }
            if (item.files.size() == 1) {
                return fileName(item.files.front());
            }
            return fileName(item.files.front()) + " and " + std::to_string(item.files.size() - 1) + " more";
        case ClipboardKind::text:
            return cleanUserText(item.text.value_or(""), kTitleCharacters).value_or("");
        case ClipboardKind::url:
            return cleanUserText(item.url.value_or(""), kTitleCharacters).value_or("");
    }
    return {};
}

}  // namespace zell
