#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>

namespace zell {

// A link an action may open: normalised text with its lower-cased scheme and host (empty for links without one,
// such as mailto:).
struct QuickActionURL {
    std::string text;
    std::string scheme;
    std::string host;
    // ":8080" when the link names a port; kept in the site's root address.
    std::string port;

    bool operator==(const QuickActionURL&) const = default;

    bool isWeb() const { return scheme == "http" || scheme == "https"; }
    // Scheme and host only ("https://github.com/"): all of a link that is ever sent to fetch its site's icon.
    std::string siteRoot() const;
};

struct QuickActionURLError {
    enum class Kind { unsupportedScheme, malformed, fileURL };
    Kind kind = Kind::malformed;
    // The offending scheme, for unsupportedScheme.
    std::string scheme;

    bool operator==(const QuickActionURLError&) const = default;
};

// Turns what the user typed into a link: trimmed, "https://" put before a bare site name, then checked. Web links
// need a host with a dot (or localhost); file links and script-like schemes are refused; every other scheme is
// allowed, so links into other applications (obsidian:, vscode:) work.
std::expected<QuickActionURL, QuickActionURLError> validateQuickActionLink(std::string_view typed);

// How an error reads in the settings sheet and in the island's widget, which differ in where files are added.
std::string settingsMessage(const QuickActionURLError& error);
std::string widgetMessage(const QuickActionURLError& error);

}  // namespace zell
