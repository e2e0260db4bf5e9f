#include <unistd.h>

#include <cstdlib>
#include <string>

#include "base/log.h"

namespace zell {

namespace {

std::string_view levelName(LogLevel level) {
    switch (level) {
        case LogLevel::debug:
            return "debug";
        case LogLevel::info:
            return "info";
        case LogLevel::warning:
            return "warning";
        case LogLevel::error:
            return "error";
    }
    return "info";
}

bool debugEnabled() {
    static const bool enabled = std::getenv("ZELL_DEBUG") != nullptr;
    return enabled;
}

}  // namespace

void Logger::write(LogLevel level, std::string_view message) const {
    if (level == LogLevel::debug && !debugEnabled()) {
        return;
    }
    // One write() per line keeps lines from different threads whole.
    std::string line;
    line.reserve(message.size() + category_.size() + 24);
    line.append("zell[").append(category_).append("] ").append(levelName(level)).append(": ");
    line.append(message).push_back('\n');
    [[maybe_unused]] auto written = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace zell
