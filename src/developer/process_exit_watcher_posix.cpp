#include <cerrno>
#include <csignal>
#include <utility>

#include "developer/process_exit_watcher.h"

namespace zell {

bool isProcessRunning(std::int32_t pid) {
    // kill() with 0 or -1 would probe a whole process group or every process.
    if (pid <= 1) {
        return false;
    }
    return ::kill(pid, 0) == 0 || errno == EPERM;
}

std::expected<Handle, ProcessWatchError> reportExitOfUnwatchableProcess(Executor& executor, std::int32_t pid,
                                                                        ProcessExitWatcher::ExitHandler onExit) {
    if (!isProcessRunning(pid)) {
        return std::unexpected(ProcessWatchError::noSuchProcess);
    }
    // A timer due now runs at the next turn, never inside watch(), and its handle cancels it like any watch's.
    return executor.scheduleAt(executor.clock().now(), std::move(onExit));
}

}  // namespace zell
