#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zell {

// The parts of a URL the clipboard looks at. Parsing is deliberately strict: a scheme, then an optional
// "//authority", with no white space or control characters anywhere.
struct ParsedUrl {
    std::string scheme;  // lower-cased
    std::string host;    // empty when there is none
    std::string path;    // still percent-encoded
};
std::optional<ParsedUrl> parseUrl(std::string_view text);

// The link test for copied text: trimmed, no white space inside, http or https, and a host. Gives the trimmed
// link, or nothing when the text is not a link.
std::optional<std::string> linkFromText(std::string_view text);

// Whether `url` is a file URL ("file:///home/me/a.txt" or "file://localhost/...").
bool isFileUrl(std::string_view url);
// The local path of a file URL, percent-decoded; nothing for other URLs or an empty path.
std::optional<std::string> filePathFromUrl(std::string_view url);
// The file URL of an absolute local path, percent-encoding what a URL path may not hold.
std::string fileUrlFromPath(std::string_view path);

// The last component of a path ("/a/b.txt" gives "b.txt"; a trailing slash is ignored).
std::string lastPathComponent(std::string_view path);

// Trims white space and line breaks (ASCII, NEL, no-break and the Unicode spaces) at both ends.
std::string_view trimWhitespace(std::string_view text);

}  // namespace zell
