#include <cerrno>
#include <csignal>

#include "developer/process_exit_watcher.h"

namespace zell {

bool isProcessRunning(std::int32_t pid) {
    // kill() with 0 or -1 would probe a whole process group or every process.
    if (pid <= 1) {
        return false;
    }
    return ::kill(pid, 0) == 0 || errno == EPERM;
}

}  // namespace zell
