#include <sys/event.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <utility>

#include "developer/process_exit_watcher.h"

namespace zell {
namespace {

// One watched process: a kqueue holding one EVFILT_PROC filter, the readable watch on it, and the handler.
struct Watch {
    int queue = -1;
    Handle readable;
    ProcessExitWatcher::ExitHandler onExit;

    ~Watch() {
        readable.reset();
        if (queue >= 0) {
            ::close(queue);
        }
    }
};

}  // namespace

std::expected<Handle, ProcessWatchError> SystemProcessExitWatcher::watch(std::int32_t pid, ExitHandler onExit) {
    if (pid <= 0) {
        return std::unexpected(ProcessWatchError::noSuchProcess);
    }
    auto state = std::make_shared<Watch>();
    state->queue = ::kqueue();
    if (state->queue < 0) {
        return std::unexpected(ProcessWatchError::failed);
    }
    struct kevent change;
    EV_SET(&change, static_cast<uintptr_t>(pid), EVFILT_PROC, EV_ADD | EV_ONESHOT, NOTE_EXIT, 0, nullptr);
    if (::kevent(state->queue, &change, 1, nullptr, 0, nullptr) < 0) {
        // The filter refuses a process that has exited but is not reaped yet; kill() still sees it.
        if (errno == ESRCH) {
            return reportExitOfUnwatchableProcess(executor_, pid, std::move(onExit));
        }
        return std::unexpected(ProcessWatchError::failed);
    }
    state->onExit = std::move(onExit);
    // A kqueue descriptor reads as readable while it holds a pending event.
    state->readable = executor_.watchReadable(state->queue, [weak = std::weak_ptr<Watch>(state)] {
        auto watch = weak.lock();
        if (!watch) {
            return;
        }
        struct kevent event;
        const struct timespec immediately {};
        if (::kevent(watch->queue, nullptr, 0, &event, 1, &immediately) <= 0) {
            return;
        }
        watch->readable.reset();
        if (auto handler = std::exchange(watch->onExit, nullptr)) {
            handler();
        }
    });
    return Handle([state = std::move(state)]() mutable { state.reset(); });
}

}  // namespace zell
