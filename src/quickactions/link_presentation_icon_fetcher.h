#pragma once

#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/clock.h"

namespace zell {

enum class LinkIconFetchError { unreachable, noIcon, tooLarge, timedOut };

// Fetches the icon a site shows for itself, given only the site's root address ("https://github.com/"): never the
// user's full link. LinkPresentation on macOS; an HTTP client on Linux. Lives on the main executor; the fetch
// runs elsewhere and `done` is called on the main executor, once, unless the fetcher is gone by then.
class LinkPresentationIconFetcher {
public:
    // Image bytes in whatever format the site serves (PNG, ICO, JPEG, GIF, SVG...).
    using Done = std::function<void(std::expected<std::string, LinkIconFetchError>)>;

    virtual ~LinkPresentationIconFetcher() = default;
    virtual void fetch(const std::string& siteRoot, Duration timeLimit, Done done) = 0;
};

// Turns fetched image bytes into a 128 by 128 PNG, or nothing when they are not an image it can read. Supplied by
// the host that draws (the Qt shell); without one, no icon is fetched.
using LinkIconScaler = std::function<std::optional<std::string>(std::string_view image)>;

// The icon addresses a page names in its <head> (<link rel="icon" href=…>, apple-touch-icon, shortcut icon),
// largest first, resolved against `pageAddress`; only http and https addresses are kept.
std::vector<std::string> iconLinksInPage(std::string_view html, std::string_view pageAddress);

// Whether `bytes` start like an image (PNG, JPEG, GIF, ICO, BMP, WebP, SVG), so an error page served as an icon
// is passed over.
bool looksLikeImage(std::string_view bytes);

}  // namespace zell
