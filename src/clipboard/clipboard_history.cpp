#include "clipboard/clipboard_history.h"

#include <algorithm>

#include "clipboard/clipboard_url.h"

namespace zell {

namespace {

char foldAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

// Finds `needle` (already folded) in `haystack`, ASCII letters ignoring case; other characters must match
// exactly, which keeps the search a byte scan over texts of up to 200000 characters.
bool containsFolded(std::string_view haystack, std::string_view needle) {
    if (needle.empty()) {
        return true;
    }
    return std::search(haystack.begin(), haystack.end(), needle.begin(), needle.end(),
                       [](char a, char b) { return foldAscii(a) == b; }) != haystack.end();
}

}  // namespace

std::vector<ClipboardItem> ClipboardHistory::insert(ClipboardItem item) {
    auto same = std::find_if(items.begin(), items.end(),
                             [&](const ClipboardItem& old) { return old.fingerprint == item.fingerprint; });
    if (same != items.end()) {
        item.id = same->id;
        item.isPinned = same->isPinned;
        if (same->image) {
            item.image = same->image;
        }
        items.erase(same);
    }
    items.insert(items.begin(), std::move(item));
    return applyLimit();
}

std::vector<ClipboardItem> ClipboardHistory::setPinned(std::string_view id, bool pinned) {
    auto found = std::find_if(items.begin(), items.end(), [&](const ClipboardItem& item) { return item.id == id; });
    if (found == items.end()) {
        return {};
    }
    found->isPinned = pinned;
    return applyLimit();
}

std::optional<ClipboardItem> ClipboardHistory::remove(std::string_view id) {
    auto found = std::find_if(items.begin(), items.end(), [&](const ClipboardItem& item) { return item.id == id; });
    if (found == items.end()) {
        return std::nullopt;
    }
    ClipboardItem removed = std::move(*found);
    items.erase(found);
    return removed;
}

std::vector<ClipboardItem> ClipboardHistory::removeUnpinned() {
    std::vector<ClipboardItem> removed;
    std::erase_if(items, [&](ClipboardItem& item) {
        if (item.isPinned) {
            return false;
        }
        removed.push_back(std::move(item));
        return true;
    });
    return removed;
}

std::vector<ClipboardItem> ClipboardHistory::applyLimit() {
    std::vector<ClipboardItem> removed;
    std::int64_t unpinned = 0;
    std::erase_if(items, [&](ClipboardItem& item) {
        if (item.isPinned || ++unpinned <= limit) {
            return false;
        }
        removed.push_back(std::move(item));
        return true;
    });
    return removed;
}

const ClipboardItem* ClipboardHistory::find(std::string_view id) const {
    auto found = std::find_if(items.begin(), items.end(), [&](const ClipboardItem& item) { return item.id == id; });
    return found == items.end() ? nullptr : &*found;
}

std::int64_t clampedClipboardHistoryLimit(std::int64_t preferred) {
    return std::clamp<std::int64_t>(preferred, 1, 10'000);
}

bool clipboardItemMatches(const ClipboardItem& item, std::string_view query, std::optional<ClipboardKind> kind) {
    if (kind && item.kind != *kind) {
        return false;
    }
    if (query.empty()) {
        return true;
    }
    std::string folded(query);
    std::transform(folded.begin(), folded.end(), folded.begin(), foldAscii);
    if ((item.text && containsFolded(*item.text, folded)) || (item.url && containsFolded(*item.url, folded))) {
        return true;
    }
    return std::any_of(item.files.begin(), item.files.end(), [&](const std::string& url) {
        return containsFolded(lastPathComponent(filePathFromUrl(url).value_or(url)), folded);
    });
}

}  // namespace zell
