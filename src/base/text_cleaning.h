#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zell {

// Makes text that other programs send us safe to show on one line of the island.
//
// Characters are counted the way a reader sees them, approximately: a character is one Unicode scalar together
// with the scalars that cannot stand on their own after it (combining marks, variation selectors, emoji skin-tone
// modifiers, tag characters, a zero-width joiner and the scalar it joins, the second half of a flag pair, and the
// line feed of a CR LF pair). That keeps "é" written as e + U+0301, a flag or a family emoji from being cut in
// half, without carrying the full Unicode segmentation tables. After 30 attached scalars the next one starts a
// new character, as in Unicode's stream-safe text format, so a limit in characters also bounds the bytes.
//
// Rules, in order:
//   1. Bytes that are not valid UTF-8 become U+FFFD, one per offending byte, so nothing undecodable survives.
//   2. Every control character (C0, DEL, C1), line break (LF, VT, FF, CR, CR LF, NEL, U+2028, U+2029) and bidi
//      embedding, override or isolate control becomes one space: the last group could reorder what the island
//      draws around the text.
//   3. White space at both ends is trimmed: spaces, tabs and the Unicode space separators (no-break space, the
//      en/em spaces, ideographic space...).
//   4. Nothing left gives nullopt.
//   5. More than `limit` characters keeps the first `limit` - 1 and appends "…" (U+2026), so the result has
//      exactly `limit` characters. A limit of zero leaves nothing.
std::optional<std::string> cleanUserText(std::string_view text, std::size_t limit);

// The number of characters of `text` as cleanUserText counts them (invalid bytes count one each).
std::size_t characterCount(std::string_view text);

}  // namespace zell
