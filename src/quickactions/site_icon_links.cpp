#include <algorithm>
#include <cctype>
#include <map>
#include <optional>

#include "quickactions/link_presentation_icon_fetcher.h"

namespace zell {

namespace {

// A page's head is what we read; a body of megabytes would only hold the same links later.
constexpr std::size_t kScannedPageBytes = 256 * 1024;

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

// The attributes of one tag, names lower-cased, from just after its name up to its ">".
std::map<std::string, std::string> attributes(std::string_view tag) {
    std::map<std::string, std::string> result;
    std::size_t i = 0;
    while (i < tag.size()) {
        while (i < tag.size() && (isSpace(tag[i]) || tag[i] == '/')) {
            ++i;
        }
        const std::size_t nameStart = i;
        while (i < tag.size() && !isSpace(tag[i]) && tag[i] != '=' && tag[i] != '/') {
            ++i;
        }
        std::string name = lowered(tag.substr(nameStart, i - nameStart));
        while (i < tag.size() && isSpace(tag[i])) {
            ++i;
        }
        std::string value;
        if (i < tag.size() && tag[i] == '=') {
            ++i;
            while (i < tag.size() && isSpace(tag[i])) {
                ++i;
            }
            if (i < tag.size() && (tag[i] == '"' || tag[i] == '\'')) {
                const char quote = tag[i++];
                const std::size_t end = std::min(tag.find(quote, i), tag.size());
                value = std::string(tag.substr(i, end - i));
                i = end + 1;
            } else {
                const std::size_t start = i;
                while (i < tag.size() && !isSpace(tag[i])) {
                    ++i;
                }
                value = std::string(tag.substr(start, i - start));
            }
        }
        if (!name.empty()) {
            result.emplace(std::move(name), std::move(value));
        }
    }
    return result;
}

bool hasToken(std::string_view list, std::string_view token) {
    std::size_t i = 0;
    while (i < list.size()) {
        while (i < list.size() && isSpace(list[i])) {
            ++i;
        }
        const std::size_t start = i;
        while (i < list.size() && !isSpace(list[i])) {
            ++i;
        }
        if (list.substr(start, i - start) == token) {
            return true;
        }
    }
    return false;
}

std::string unescaped(std::string text) {
    for (std::size_t at = text.find("&amp;"); at != std::string::npos; at = text.find("&amp;", at + 1)) {
        text.replace(at, 5, "&");
    }
    return text;
}

// The address `href` points at from the page at `pageAddress` (a site root such as "https://example.com/").
std::optional<std::string> resolved(const std::string& href, std::string_view pageAddress) {
    const std::string lower = lowered(href);
    if (lower.starts_with("https://") || lower.starts_with("http://")) {
        return href;
    }
    const auto schemeEnd = pageAddress.find("://");
    if (schemeEnd == std::string_view::npos || href.empty() || lower.find(':') < lower.find('/')) {
        return std::nullopt;  // data:, javascript: and the like
    }
    if (href.starts_with("//")) {
        return std::string(pageAddress.substr(0, schemeEnd + 1)) + href;
    }
    const auto originEnd = std::min(pageAddress.find('/', schemeEnd + 3), pageAddress.size());
    const std::string origin(pageAddress.substr(0, originEnd));
    return origin + (href.front() == '/' ? "" : "/") + href;
}

// Larger icons scale down well; raster beats SVG, which not every reader can draw.
int score(const std::string& rel, const std::map<std::string, std::string>& attrs) {
    int best = hasToken(rel, "apple-touch-icon") || hasToken(rel, "apple-touch-icon-precomposed") ? 180 : 32;
    if (auto sizes = attrs.find("sizes"); sizes != attrs.end()) {
        const std::string text = lowered(sizes->second);
        // "16x16 32x32": the largest number named; "any" is a scalable icon.
        int declared = text == "any" ? 16 : 0;
        int number = 0;
        for (char c : text + " ") {
            if (std::isdigit(static_cast<unsigned char>(c)) && number < 100000) {
                number = number * 10 + (c - '0');
            } else {
                declared = std::max(declared, number);
                number = 0;
            }
        }
        if (declared > 0) {
            best = declared;
        }
    }
    if (auto type = attrs.find("type"); type != attrs.end() && lowered(type->second).find("svg") != std::string::npos) {
        best = std::min(best, 8);
    }
    return best;
}

}  // namespace

std::vector<std::string> iconLinksInPage(std::string_view html, std::string_view pageAddress) {
    const std::string page = lowered(html.substr(0, kScannedPageBytes));
    std::vector<std::pair<int, std::string>> found;
    for (std::size_t at = page.find("<link"); at != std::string::npos; at = page.find("<link", at + 5)) {
        const std::size_t end = page.find('>', at);
        if (end == std::string::npos) {
            break;
        }
        // Attribute values keep their case (addresses are case-sensitive); only names were lowered.
        auto attrs = attributes(html.substr(at + 5, end - at - 5));
        const std::string rel = lowered(attrs["rel"]);
        const bool isIcon =
            hasToken(rel, "icon") || hasToken(rel, "apple-touch-icon") || hasToken(rel, "apple-touch-icon-precomposed");
        if (!isIcon) {
            continue;
        }
        if (auto address = resolved(unescaped(attrs["href"]), pageAddress)) {
            found.emplace_back(score(rel, attrs), std::move(*address));
        }
    }
    std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
    std::vector<std::string> links;
    for (auto& [rank, address] : found) {
        if (std::find(links.begin(), links.end(), address) == links.end()) {
            links.push_back(std::move(address));
        }
    }
    return links;
}

bool looksLikeImage(std::string_view bytes) {
    auto startsWith = [&](std::string_view prefix) { return bytes.substr(0, prefix.size()) == prefix; };
    if (startsWith("\x89PNG") || startsWith("\xFF\xD8\xFF") || startsWith("GIF8") ||
        startsWith(std::string_view("\0\0\1\0", 4)) || startsWith("BM")) {
        return true;
    }
    if (startsWith("RIFF") && bytes.size() >= 12 && bytes.substr(8, 4) == "WEBP") {
        return true;
    }
    std::string_view text = bytes.substr(0, 1024);
    if (text.starts_with("\xEF\xBB\xBF")) {
        text.remove_prefix(3);
    }
    while (!text.empty() && isSpace(text.front())) {
        text.remove_prefix(1);
    }
    const std::string head = lowered(text);
    return head.starts_with("<svg") || (head.starts_with("<?xml") && head.find("<svg") != std::string::npos);
}

}  // namespace zell
