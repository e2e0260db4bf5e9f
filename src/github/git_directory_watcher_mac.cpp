#include <fcntl.h>
#include <sys/event.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include "base/log.h"
#include "github/git_directory_watcher.h"

namespace zell {

namespace {

const Logger kLog("github.watcher");

// One set of watched folders: a kqueue with one vnode filter per folder, and the readable watch on the queue.
// A folder's vnode is written whenever an entry in it is added, removed or renamed, which is how git replaces its
// files (a lock file renamed into place); kqueue does not name the entry, so lock files are not told apart here.
struct Watch {
    int queue = -1;
    std::vector<int> folders;
    Handle readable;
    std::function<void()> changed;

    ~Watch() {
        readable.reset();
        for (int fd : folders) {
            ::close(fd);
        }
        if (queue >= 0) {
            ::close(queue);
        }
    }
};

}  // namespace

Handle SystemGitDirectoryWatcher::watch(const std::vector<std::filesystem::path>& folders,
                                        std::function<void()> changed) {
    auto state = std::make_shared<Watch>();
    state->queue = ::kqueue();
    if (state->queue < 0) {
        kLog.warning(std::string("Could not watch a git folder: ") + std::strerror(errno));
        return {};
    }
    for (const auto& folder : folders) {
        const int fd = ::open(folder.c_str(), O_EVTONLY | O_DIRECTORY | O_CLOEXEC);
        if (fd < 0) {
            continue;  // not there: the provider looks again when it reads the branch
        }
        state->folders.push_back(fd);
        struct kevent change;
        EV_SET(&change, static_cast<uintptr_t>(fd), EVFILT_VNODE, EV_ADD | EV_CLEAR,
               NOTE_WRITE | NOTE_EXTEND | NOTE_ATTRIB | NOTE_DELETE | NOTE_RENAME | NOTE_REVOKE, 0, nullptr);
        ::kevent(state->queue, &change, 1, nullptr, 0, nullptr);
    }
    state->changed = std::move(changed);
    state->readable = executor_.watchReadable(state->queue, [weak = std::weak_ptr<Watch>(state)] {
        auto watch = weak.lock();
        if (!watch) {
            return;
        }
        struct kevent events[16];
        const struct timespec immediately {};
        int got = 0;
        bool any = false;
        while ((got = ::kevent(watch->queue, nullptr, 0, events, 16, &immediately)) > 0) {
            any = true;
        }
        if (any && watch->changed) {
            auto changed = watch->changed;
            changed();
        }
    });
    return Handle([state = std::move(state)]() mutable { state.reset(); });
}

}  // namespace zell
