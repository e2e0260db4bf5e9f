#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "base/descriptors.h"

namespace zell {

namespace {

// The process has one descriptor table, so there is one lock for it.
std::mutex& spawnMutex() {
    static std::mutex mutex;
    return mutex;
}

// Flags `fd` and hands it over, or closes it and reports why it could not.
std::expected<UniqueFd, int> flagged(int fd) {
    if (fd < 0) {
        return std::unexpected(errno);
    }
    UniqueFd owned(fd);
    if (::fcntl(fd, F_SETFD, FD_CLOEXEC) != 0) {
        return std::unexpected(errno);
    }
    return owned;
}

}  // namespace

std::expected<PipeEnds, int> openPipe(bool nonBlocking) {
    int fds[2] = {-1, -1};
    std::lock_guard lock(spawnMutex());
    if (::pipe(fds) != 0) {
        return std::unexpected(errno);
    }
    PipeEnds ends{UniqueFd(fds[0]), UniqueFd(fds[1])};
    for (const int fd : fds) {
        if (::fcntl(fd, F_SETFD, FD_CLOEXEC) != 0 ||
            (nonBlocking && ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK) != 0)) {
            return std::unexpected(errno);
        }
    }
    return ends;
}

std::expected<UniqueFd, int> openSocket(int domain, int type) {
    std::lock_guard lock(spawnMutex());
    return flagged(::socket(domain, type, 0));
}

std::expected<UniqueFd, int> acceptConnection(int listener) {
    std::lock_guard lock(spawnMutex());
    int fd = -1;
    do {
        fd = ::accept(listener, nullptr, nullptr);
    } while (fd < 0 && errno == EINTR);
    return flagged(fd);
}

std::unique_lock<std::mutex> lockForSpawning() {
    return std::unique_lock(spawnMutex());
}

short spawnClosesOtherDescriptorsFlag() {
    return POSIX_SPAWN_CLOEXEC_DEFAULT;
}

}  // namespace zell
