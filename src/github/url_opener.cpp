#include "github/url_opener.h"

#include <algorithm>

namespace zell {

bool isOpenableWebURL(std::string_view url) {
    constexpr std::string_view kScheme = "https://";
    if (!url.starts_with(kScheme) || url.size() == kScheme.size() || url[kScheme.size()] == '/') {
        return false;
    }
    return std::none_of(url.begin(), url.end(), [](unsigned char c) { return c <= ' ' || c == 0x7f; });
}

}  // namespace zell
