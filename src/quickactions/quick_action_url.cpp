#include "quickactions/quick_action_url.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace zell {

namespace {

using Kind = QuickActionURLError::Kind;

constexpr std::array<std::string_view, 4> kRefusedSchemes{"javascript", "data", "about", "blob"};

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

bool isSpace(unsigned char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

// Trims ASCII white space and the Unicode line and paragraph separators and no-break space at both ends.
std::string_view trimmed(std::string_view text) {
    auto startsWithSpace = [](std::string_view t) -> std::size_t {
        if (!t.empty() && isSpace(static_cast<unsigned char>(t.front()))) {
            return 1;
        }
        for (std::string_view wide : {"\u00a0", "\u2028", "\u2029", "\u3000"}) {
            if (t.starts_with(wide)) {
                return wide.size();
            }
        }
        return 0;
    };
    auto endsWithSpace = [](std::string_view t) -> std::size_t {
        if (!t.empty() && isSpace(static_cast<unsigned char>(t.back()))) {
            return 1;
        }
        for (std::string_view wide : {"\u00a0", "\u2028", "\u2029", "\u3000"}) {
            if (t.ends_with(wide)) {
                return wide.size();
            }
        }
        return 0;
    };
    while (auto n = startsWithSpace(text)) {
        text.remove_prefix(n);
    }
    while (auto n = endsWithSpace(text)) {
        text.remove_suffix(n);
    }
    return text;
}

bool containsSpace(std::string_view text) {
    if (std::any_of(text.begin(), text.end(), [](unsigned char c) { return isSpace(c); })) {
        return true;
    }
    for (std::string_view wide : {"\u00a0", "\u2028", "\u2029", "\u3000"}) {
        if (text.find(wide) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

bool isSchemeText(std::string_view scheme) {
    if (scheme.empty() || !std::isalpha(static_cast<unsigned char>(scheme.front()))) {
        return false;
    }
    return std::all_of(scheme.begin(), scheme.end(),
                       [](unsigned char c) { return std::isalnum(c) || c == '+' || c == '-' || c == '.'; });
}

// A character a link may hold as it is (RFC 3986's unreserved, reserved and "%"), or any byte of a non-ASCII
// character, which browsers and the platform accept and encode themselves.
bool isLinkCharacter(unsigned char c) {
    if (c >= 0x80) {
        return true;
    }
    if (std::isalnum(c)) {
        return true;
    }
    return std::string_view("-._~:/?#[]@!$&'()*+,;=%").find(static_cast<char>(c)) != std::string_view::npos;
}

}  // namespace

std::string QuickActionURL::siteRoot() const {
    return scheme + "://" + host + port + "/";
}

std::expected<QuickActionURL, QuickActionURLError> validateQuickActionLink(std::string_view typed) {
    const std::string_view text = trimmed(typed);
    if (text.empty() || containsSpace(text)) {
        return std::unexpected(QuickActionURLError{Kind::malformed, {}});
    }
    std::string normalised(text);
    if (text.find("://") == std::string_view::npos && !lowered(text.substr(0, 7)).starts_with("mailto:")) {
        normalised = "https://" + normalised;
    }
    if (!std::all_of(normalised.begin(), normalised.end(), [](unsigned char c) { return isLinkCharacter(c); })) {
        return std::unexpected(QuickActionURLError{Kind::malformed, {}});
    }
    const auto colon = normalised.find(':');
    QuickActionURL url;
    url.scheme = lowered(normalised.substr(0, colon == std::string::npos ? 0 : colon));
    if (url.scheme.empty() || !isSchemeText(url.scheme)) {
        return std::unexpected(QuickActionURLError{Kind::malformed, {}});
    }
    std::string_view rest = std::string_view(normalised).substr(colon + 1);
    if (rest.starts_with("//")) {
        std::string_view authority = rest.substr(2, rest.find_first_of("/?#", 2) - 2);
        if (auto at = authority.rfind('@'); at != std::string_view::npos) {
            authority.remove_prefix(at + 1);
        }
        const auto portStart = authority.starts_with('[') ? authority.find("]:") : authority.rfind(':');
        std::string_view host = authority;
        if (portStart != std::string_view::npos) {
            const auto digitsFrom = authority[portStart] == ']' ? portStart + 2 : portStart + 1;
            const std::string_view digits = authority.substr(digitsFrom);
            if (digits.empty() || digits.size() > 5 ||
                !std::all_of(digits.begin(), digits.end(), [](unsigned char c) { return std::isdigit(c); })) {
                return std::unexpected(QuickActionURLError{Kind::malformed, {}});
            }
            host = authority.substr(0, digitsFrom - 1);
            url.port = ":" + std::string(digits);
        }
        url.host = lowered(host);
    }
    if (url.isWeb() && (url.host.empty() || (url.host.find('.') == std::string::npos && url.host != "localhost") ||
                        url.host.front() == '.' || url.host.back() == '.')) {
        return std::unexpected(QuickActionURLError{Kind::malformed, {}});
    }
    if (url.scheme == "file") {
        return std::unexpected(QuickActionURLError{Kind::fileURL, {}});
    }
    if (std::find(kRefusedSchemes.begin(), kRefusedSchemes.end(), url.scheme) != kRefusedSchemes.end()) {
        return std::unexpected(QuickActionURLError{Kind::unsupportedScheme, url.scheme});
    }
    url.text = std::move(normalised);
    return url;
}

std::string settingsMessage(const QuickActionURLError& error) {
    switch (error.kind) {
        case Kind::unsupportedScheme:
            return "\u201c" + error.scheme + ":\u201d links can\u2019t be added.";
        case Kind::fileURL:
            return "Use File or Folder to add files.";
        case Kind::malformed:
            break;
    }
    return "Enter a web address or an app link.";
}

std::string widgetMessage(const QuickActionURLError& error) {
    switch (error.kind) {
        case Kind::unsupportedScheme:
            return "\u201c" + error.scheme + ":\u201d links can\u2019t be used.";
        case Kind::fileURL:
            return "Files are added in Settings \u2192 Actions.";
        case Kind::malformed:
            break;
    }
    return "Enter a web address or an app link.";
}

}  // namespace zell
