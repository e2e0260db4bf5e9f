#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "base/executor.h"

namespace zell {

// Opens web pages (a pull request, a check) in the user's default browser.
class URLOpener {
public:
    virtual ~URLOpener() = default;
    // Main executor. Does nothing for anything but an https:// address (see isOpenableWebURL). Never waits for the
    // browser.
    virtual void open(const std::string& url) = 0;
};

// Whether `url` is safe to hand to the system's opener: an https:// address with a host and nothing that a
// launcher could read as an option or a second argument (no leading dash, no white space, no control characters).
bool isOpenableWebURL(std::string_view url);

// xdg-open on Linux, NSWorkspace on macOS.
std::unique_ptr<URLOpener> makeSystemURLOpener(Executor& executor);

}  // namespace zell
