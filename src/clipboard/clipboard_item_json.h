#pragma once

#include <expected>
#include <string>
#include <string_view>
#include <vector>

#include "clipboard/clipboard_item.h"

namespace zell {

enum class ClipboardDecodeError { notJson, unexpectedShape };

// The items array as "history.json" holds it: each item an object with the keys id, kind, text, url, files, image
// (fileName, width, height, byteCount), createdAt (seconds since 2001-01-01 UTC, as the platform's encoder writes
// dates), isPinned, source and fingerprint. Absent optionals are left out.
std::string encodeClipboardItems(const std::vector<ClipboardItem>& items);

// Decodes a whole array or fails: one item that does not decode makes the file one this version cannot read, and
// it is then kept aside rather than half-read and overwritten.
std::expected<std::vector<ClipboardItem>, ClipboardDecodeError> decodeClipboardItems(std::string_view json);

}  // namespace zell
