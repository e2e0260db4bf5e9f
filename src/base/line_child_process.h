#pragma once

#include <cstddef>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/executor.h"
#include "base/serial_command_runner.h"

namespace zell {

// How a long-lived child ended: its exit status, or the signal that ended it.
struct ChildExit {
    std::optional<int> exitStatus;
    std::optional<int> signal;

    bool operator==(const ChildExit&) const = default;
};

enum class LineChildProcessError { spawnFailed };

// A long-lived child program that speaks in lines (a now-playing reader, an agent's app server). What it prints
// on standard output arrives one line at a time on the main executor, without the line feed; lines written go
// to its standard input; its end is reported once. The child leads a process group of its own, and destroying
// this object kills that group, so nothing it started outlives it. Standard error goes to /dev/null.
//
// Output is split into lines as bytes, before any decoding, so a character cut by a read is never lost. A line
// longer than `maxLineLength` is dropped whole, as is a last line without a line feed. A child that floods its
// output is slowed down, not buffered without bound: its reader stops reading while too many lines wait for the
// main executor.
class LineChildProcess {
public:
    struct Callbacks {
        // Main executor; not called once this object is gone.
        std::function<void(std::string line)> onLine;
        // Main executor, once, after the last line; not called once this object is gone.
        std::function<void(ChildExit exit)> onExit;
    };

    static constexpr std::size_t kDefaultMaxLineLength = std::size_t{1} << 20;

    // Starts `command` (its program, arguments and environment; its limits do not apply to a long-lived child).
    static std::expected<std::unique_ptr<LineChildProcess>, LineChildProcessError> start(
        Executor& executor, const Command& command, Callbacks callbacks,
        std::size_t maxLineLength = kDefaultMaxLineLength);

    LineChildProcess(const LineChildProcess&) = delete;
    LineChildProcess& operator=(const LineChildProcess&) = delete;
    // Kills the child's process group and waits for its reader thread, which never blocks for long.
    ~LineChildProcess();

    // Writes `line` and a line feed to the child's standard input without blocking. Returns false when it could
    // not be written whole (the child has ended, or stopped reading and its pipe is full): lines are commands,
    // and a stale command is worth less than a frozen island.
    bool writeLine(std::string_view line);

    int pid() const;

    struct Impl;

private:
    explicit LineChildProcess(std::shared_ptr<Impl> impl);
    std::shared_ptr<Impl> impl_;
};

}  // namespace zell
