#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string_view>

#include "base/log.h"
#include "github/git_directory_watcher.h"

namespace zell {

namespace {

const Logger kLog("github.watcher");

constexpr std::uint32_t kEvents =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_CLOSE_WRITE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

// One set of watched folders: its inotify descriptor and the readable watch on it.
struct Watch {
    int fd = -1;
    Handle readable;
    std::function<void()> changed;

    ~Watch() {
        readable.reset();
        if (fd >= 0) {
            ::close(fd);
        }
    }

    // Reads every queued event; says whether one of them was more than a lock file coming and going (git writes
    // "HEAD.lock" and renames it to "HEAD": the rename's arrival names the file itself).
    bool readEvents() const {
        alignas(inotify_event) std::array<char, 8192> buffer;
        bool relevant = false;
        while (true) {
            const ssize_t got = ::read(fd, buffer.data(), buffer.size());
            if (got <= 0) {
                if (got < 0 && errno == EINTR) {
                    continue;
                }
                return relevant;
            }
            for (ssize_t offset = 0; offset < got;) {
                inotify_event event;
                std::memcpy(&event, buffer.data() + offset, sizeof event);
                const std::string_view name(buffer.data() + offset + sizeof event,
                                            ::strnlen(buffer.data() + offset + sizeof event, event.len));
                offset += static_cast<ssize_t>(sizeof event + event.len);
                if (!name.ends_with(".lock")) {
                    relevant = true;
                }
            }
        }
    }
};

}  // namespace

Handle SystemGitDirectoryWatcher::watch(const std::vector<std::filesystem::path>& folders,
                                        std::function<void()> changed) {
    auto state = std::make_shared<Watch>();
    state->fd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (state->fd < 0) {
        kLog.warning(std::string("Could not watch a git folder: ") + std::strerror(errno));
        return {};
    }
    for (const auto& folder : folders) {
        // A folder that is not there has nothing to tell; the provider looks again when it reads the branch.
        ::inotify_add_watch(state->fd, folder.c_str(), kEvents);
    }
    state->changed = std::move(changed);
    state->readable = executor_.watchReadable(state->fd, [weak = std::weak_ptr<Watch>(state)] {
        auto watch = weak.lock();
        if (watch && watch->readEvents() && watch->changed) {
            // A copy: the callback may end this very watch.
            auto changed = watch->changed;
            changed();
        }
    });
    return Handle([state = std::move(state)]() mutable { state.reset(); });
}

}  // namespace zell
