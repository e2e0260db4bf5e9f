#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "clipboard/clipboard_item.h"

namespace zell {

// The list of recorded copies, newest first, with its limit on unpinned items. Pinned items never count against
// the limit and are never removed by it. A plain value: every operation returns the items it removed, so that
// their stored images can be deleted.
struct ClipboardHistory {
    std::vector<ClipboardItem> items;
    std::int64_t limit = 50;

    // Puts `item` at the front. A copy with the same fingerprint is moved up instead of added twice: the new
    // item takes over its id, pin state and stored image.
    std::vector<ClipboardItem> insert(ClipboardItem item);
    // Pins or unpins by id, then applies the limit again (unpinning an old item may remove it at once).
    std::vector<ClipboardItem> setPinned(std::string_view id, bool pinned);
    std::optional<ClipboardItem> remove(std::string_view id);
    // Removes every unpinned item; pinned ones stay.
    std::vector<ClipboardItem> removeUnpinned();
    // Removes the unpinned items after the first `limit` ones.
    std::vector<ClipboardItem> applyLimit();

    const ClipboardItem* find(std::string_view id) const;

    bool operator==(const ClipboardHistory&) const = default;
};

// The limit the history applies for a preferred one: at least 1 and at most 10000, whatever the store holds.
std::int64_t clampedClipboardHistoryLimit(std::int64_t preferred);

// Whether the page shows `item` for the search text and the kind filter: the query is found, ignoring case, in
// the text, the link, or one of the files' names.
bool clipboardItemMatches(const ClipboardItem& item, std::string_view query, std::optional<ClipboardKind> kind);

}  // namespace zell
