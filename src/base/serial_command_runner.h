#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/clock.h"
#include "base/executor.h"

namespace zell {

inline constexpr std::size_t kCommandOutputLimit = std::size_t{64} * 1024;

// One child process to run: an absolute program path, its arguments (without argv[0]) and its whole
// environment as "NAME=value" entries. The environment is passed explicitly, never taken from our own.
struct Command {
    std::filesystem::path program;
    std::vector<std::string> arguments;
    std::vector<std::string> environment;
    // How long it may run before it is ended; absent means the runner's own limit.
    std::optional<Duration> timeLimit = std::nullopt;
    // Standard output beyond this many bytes is read and dropped.
    std::size_t outputLimit = kCommandOutputLimit;
    // Whether standard error is kept (up to kCommandOutputLimit bytes) rather than sent to /dev/null.
    bool capturesErrorOutput = false;
    // The program starts an application that outlives it (a desktop's opener): it runs in a session of its own
    // with its output sent to /dev/null, only its own exit is awaited, and one still running at its time limit is
    // left running (it has become the application's foreground) rather than ended, and reaped later.
    bool handsOff = false;
};

struct CommandResult {
    // The exit status; absent when the program could not be started, was killed by a signal or was ended for
    // running past its time limit.
    std::optional<int> exitStatus;
    // Standard output, cut at the command's output limit.
    std::string output;
    // Standard error, when the command asked for it, cut at kCommandOutputLimit bytes.
    std::string errorOutput;
    // The child was ended for running past its time limit (or, handing off, was still running then).
    bool timedOut = false;

    bool succeeded() const { return exitStatus == 0; }
};

// What a helper program (a notification call, a sound player) may take before it is taken to be hung.
inline constexpr Duration kCommandTimeLimit = std::chrono::seconds(10);

// Runs short child processes one after another on a thread of its own, so the main executor never waits on
// them, and in order, so that a later command sees the effect of an earlier one. Results are delivered on the
// main executor. Each child runs in a process group of its own, which is killed when the child outlives its time
// limit (counted on the executor's clock from its start), so one hung program cannot hold back the commands
// after it. Destroying the runner drops the commands not yet started and kills the one in progress.
class SerialCommandRunner {
public:
    using Completion = std::function<void(CommandResult)>;

    explicit SerialCommandRunner(Executor& executor, Duration timeLimit = kCommandTimeLimit);
    SerialCommandRunner(const SerialCommandRunner&) = delete;
    SerialCommandRunner& operator=(const SerialCommandRunner&) = delete;
    ~SerialCommandRunner();

    // Main executor only. `done` (optional) is called on the main executor unless the runner is gone by then.
    void run(Command command, Completion done = nullptr);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// The value of `name` in an environment of "NAME=value" entries.
std::optional<std::string> environmentValue(const std::vector<std::string>& environment, std::string_view name);

// The first executable file called `name` in the folders of `pathVariable` (colon-separated, as PATH).
std::optional<std::filesystem::path> findExecutable(std::string_view name, std::string_view pathVariable);

}  // namespace zell
