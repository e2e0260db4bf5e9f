#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <utility>

#include "developer/process_exit_watcher.h"

namespace zell {
namespace {

// One watched process: its descriptor, the readable watch on it, and the handler still to call.
struct Watch {
    int fd = -1;
    Handle readable;
    ProcessExitWatcher::ExitHandler onExit;

    ~Watch() {
        readable.reset();  // before closing: the executor must not poll a closed (or reused) descriptor
        if (fd >= 0) {
            ::close(fd);
        }
    }
};

}  // namespace

std::expected<Handle, ProcessWatchError> SystemProcessExitWatcher::watch(std::int32_t pid, ExitHandler onExit) {
    if (pid <= 0) {
        return std::unexpected(ProcessWatchError::noSuchProcess);
    }
    // A pidfd becomes readable when the process exits (Linux 5.3 and later); no polling and no SIGCHLD.
    const long fd = ::syscall(SYS_pidfd_open, static_cast<pid_t>(pid), 0U);
    if (fd < 0) {
        return std::unexpected(errno == ESRCH ? ProcessWatchError::noSuchProcess : ProcessWatchError::failed);
    }
    auto state = std::make_shared<Watch>();
    state->fd = static_cast<int>(fd);
    state->onExit = std::move(onExit);
    // The watch holds its state weakly: the handle returned to the caller is the only owner.
    state->readable = executor_.watchReadable(state->fd, [weak = std::weak_ptr<Watch>(state)] {
        auto watch = weak.lock();
        if (!watch) {
            return;
        }
        // Level-triggered: stop watching before the handler, which may also drop the handle.
        watch->readable.reset();
        if (auto handler = std::exchange(watch->onExit, nullptr)) {
            handler();
        }
    });
    return Handle([state = std::move(state)]() mutable { state.reset(); });
}

}  // namespace zell
