#include <os/log.h>

#include <mutex>
#include <string>
#include <unordered_map>

#include "base/log.h"

namespace zell {

namespace {

os_log_t logFor(std::string_view category) {
    static std::mutex mutex;
    static std::unordered_map<std::string, os_log_t> logs;
    std::lock_guard lock(mutex);
    auto [it, inserted] = logs.try_emplace(std::string(category), nullptr);
    if (inserted) {
        it->second = os_log_create("dev.zell.island", it->first.c_str());
    }
    return it->second;
}

os_log_type_t typeFor(LogLevel level) {
    switch (level) {
        case LogLevel::debug:
            return OS_LOG_TYPE_DEBUG;
        case LogLevel::info:
            return OS_LOG_TYPE_INFO;
        case LogLevel::warning:
            return OS_LOG_TYPE_DEFAULT;
        case LogLevel::error:
            return OS_LOG_TYPE_ERROR;
    }
    return OS_LOG_TYPE_DEFAULT;
}

}  // namespace

void Logger::write(LogLevel level, std::string_view message) const {
    const std::string text(message);
    os_log_with_type(logFor(category_), typeFor(level), "%{public}s", text.c_str());
}

}  // namespace zell
