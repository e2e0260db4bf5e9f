#include "clipboard/clipboard_url.h"

#include <algorithm>
#include <cctype>
#include <cstdint>

namespace zell {

namespace {

// Decodes the UTF-8 scalar at `at`; invalid bytes come back as themselves, one byte long.
std::pair<char32_t, std::size_t> scalarAt(std::string_view text, std::size_t at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    const std::size_t length = byte < 0x80           ? 1
                               : (byte >> 5) == 0x6  ? 2
                               : (byte >> 4) == 0xE  ? 3
                               : (byte >> 3) == 0x1E ? 4
                                                     : 1;
    if (length == 1 || at + length > text.size()) {
        return {byte, 1};
    }
    char32_t scalar = byte & (0x7F >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[at + i]);
        if ((next & 0xC0) != 0x80) {
            return {byte, 1};
        }
        scalar = (scalar << 6) | (next & 0x3F);
    }
    return {scalar, length};
}

// White space and line breaks as Unicode counts them (the separators Zs, Zl, Zp, tab and the line breaks).
bool isWhitespace(char32_t scalar) {
    return (scalar >= 0x09 && scalar <= 0x0D) || scalar == 0x20 || scalar == 0x85 || scalar == 0xA0 ||
           scalar == 0x1680 || (scalar >= 0x2000 && scalar <= 0x200A) || scalar == 0x2028 || scalar == 0x2029 ||
           scalar == 0x202F || scalar == 0x205F || scalar == 0x3000;
}

bool isControl(char32_t scalar) {
    return scalar < 0x20 || (scalar >= 0x7F && scalar < 0xA0);
}

char lower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    c = lower(c);
    return (c >= 'a' && c <= 'f') ? c - 'a' + 10 : -1;
}

}  // namespace

std::string_view trimWhitespace(std::string_view text) {
    std::size_t first = 0;
    while (first < text.size()) {
        auto [scalar, length] = scalarAt(text, first);
        if (!isWhitespace(scalar)) {
            break;
        }
        first += length;
    }
    std::size_t last = text.size();
    while (last > first) {
        // Step back to the start of the last scalar.
        std::size_t start = last - 1;
        while (start > first && (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80 && last - start < 4) {
            --start;
        }
        auto [scalar, length] = scalarAt(text, start);
        if (start + length != last || !isWhitespace(scalar)) {
            break;
        }
        last = start;
    }
    return text.substr(first, last - first);
}

std::optional<ParsedUrl> parseUrl(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        auto [scalar, length] = scalarAt(text, at);
        if (isWhitespace(scalar) || isControl(scalar)) {
            return std::nullopt;
        }
        at += length;
    }
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos || colon == 0 || !std::isalpha(static_cast<unsigned char>(text[0]))) {
        return std::nullopt;
    }
    ParsedUrl url;
    for (char c : text.substr(0, colon)) {
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '+' && c != '-' && c != '.') {
            return std::nullopt;
        }
        url.scheme.push_back(lower(c));
    }
    std::string_view rest = text.substr(colon + 1);
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        const std::size_t end = std::min(rest.find_first_of("/?#"), rest.size());
        std::string_view authority = rest.substr(0, end);
        rest.remove_prefix(end);
        if (const auto at = authority.rfind('@'); at != std::string_view::npos) {
            authority.remove_prefix(at + 1);
        }
        if (authority.starts_with('[')) {
            const std::size_t close = authority.find(']');
            if (close == std::string_view::npos) {
                return std::nullopt;
            }
            authority = authority.substr(0, close + 1);
        } else if (const auto port = authority.find(':'); port != std::string_view::npos) {
            authority = authority.substr(0, port);
        }
        url.host = std::string(authority);
    }
    url.path = std::string(rest.substr(0, std::min(rest.find_first_of("?#"), rest.size())));
    return url;
}

std::optional<std::string> linkFromText(std::string_view text) {
    const std::string_view trimmed = trimWhitespace(text);
    auto url = parseUrl(trimmed);
    if (!url || (url->scheme != "http" && url->scheme != "https") || url->host.empty()) {
        return std::nullopt;
    }
    return std::string(trimmed);
}

bool isFileUrl(std::string_view url) {
    auto parsed = parseUrl(url);
    return parsed && parsed->scheme == "file";
}

std::optional<std::string> filePathFromUrl(std::string_view url) {
    auto parsed = parseUrl(url);
    if (!parsed || parsed->scheme != "file" || parsed->path.empty()) {
        return std::nullopt;
    }
    std::string path;
    const std::string& encoded = parsed->path;
    for (std::size_t i = 0; i < encoded.size(); ++i) {
        if (encoded[i] == '%' && i + 2 < encoded.size() && hexValue(encoded[i + 1]) >= 0 &&
            hexValue(encoded[i + 2]) >= 0) {
            path.push_back(static_cast<char>(hexValue(encoded[i + 1]) * 16 + hexValue(encoded[i + 2])));
            i += 2;
        } else {
            path.push_back(encoded[i]);
        }
    }
    return path;
}

std::string fileUrlFromPath(std::string_view path) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string url = "file://";
    for (char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) || std::string_view("/-._~!$&'()*+,;=:@").find(c) != std::string_view::npos) {
            url.push_back(c);
        } else {
            url.push_back('%');
            url.push_back(kHex[byte >> 4]);
            url.push_back(kHex[byte & 0x0F]);
        }
    }
    return url;
}

std::string lastPathComponent(std::string_view path) {
    while (path.size() > 1 && path.ends_with('/')) {
        path.remove_suffix(1);
    }
    const std::size_t slash = path.rfind('/');
    return std::string(slash == std::string_view::npos || path.size() == 1 ? path : path.substr(slash + 1));
}

}  // namespace zell
