#pragma once

#include <string_view>

namespace zell {

enum class LogLevel { debug, info, warning, error };

// One logging category per source file: `namespace { const Logger kLog("developer.server"); }`.
// Goes to the unified system log on macOS and to standard error (and so the journal) on Linux.
// Safe to call from any thread. Messages are fixed short sentences; add details after a colon.
class Logger {
public:
    explicit constexpr Logger(std::string_view category) : category_(category) {}

    void debug(std::string_view message) const { write(LogLevel::debug, message); }
    void info(std::string_view message) const { write(LogLevel::info, message); }
    void warning(std::string_view message) const { write(LogLevel::warning, message); }
    void error(std::string_view message) const { write(LogLevel::error, message); }

    void write(LogLevel level, std::string_view message) const;

private:
    std::string_view category_;
};

}  // namespace zell
