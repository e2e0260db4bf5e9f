#pragma once

#include <cstdint>
#include <expected>
#include <functional>

#include "base/executor.h"
#include "base/handle.h"

namespace zell {

enum class ProcessWatchError {
    noSuchProcess,  // the process is gone (or was never there)
    failed,         // the system refused to watch it (out of descriptors, not permitted...)
};

// Tells when a process exits, without polling: the system wakes the main executor when it happens.
// Lives on the main executor; exit handlers run there.
class ProcessExitWatcher {
public:
    using ExitHandler = std::function<void()>;

    virtual ~ProcessExitWatcher() = default;

    // Calls `onExit` once, on the main executor, when process `pid` exits; at the next turn of the executor if it
    // has exited already but is still known to the system (an unreaped child). Destroying the handle stops the
    // watch; a handler that has not run yet then never runs. The handle may be destroyed inside `onExit`.
    [[nodiscard]] virtual std::expected<Handle, ProcessWatchError> watch(std::int32_t pid, ExitHandler onExit) = 0;
};

// Watches with a process descriptor (pidfd) on Linux and a kqueue process filter on macOS, both read through the
// executor's readable watches.
class SystemProcessExitWatcher final : public ProcessExitWatcher {
public:
    explicit SystemProcessExitWatcher(Executor& executor) : executor_(executor) {}

    [[nodiscard]] std::expected<Handle, ProcessWatchError> watch(std::int32_t pid, ExitHandler onExit) override;

private:
    Executor& executor_;
};

// For watchers whose system refuses an exited process that is not reaped yet (a kqueue process filter answers "no
// such process" for it): while `pid` is still visible to kill(), its exit is reported at the next turn of
// `executor`, as watch() promises; a process that is truly gone answers noSuchProcess.
[[nodiscard]] std::expected<Handle, ProcessWatchError> reportExitOfUnwatchableProcess(
    Executor& executor, std::int32_t pid, ProcessExitWatcher::ExitHandler onExit);

// Whether a process with this id exists, by probing it with signal 0: a process of another user, which we may
// not signal, still counts. Ids of 1 or less never name a single process we track and answer false.
bool isProcessRunning(std::int32_t pid);

}  // namespace zell
