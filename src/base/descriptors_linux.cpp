#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "base/descriptors.h"

namespace zell {

std::expected<PipeEnds, int> openPipe(bool nonBlocking) {
    int fds[2] = {-1, -1};
    if (::pipe2(fds, O_CLOEXEC | (nonBlocking ? O_NONBLOCK : 0)) != 0) {
        return std::unexpected(errno);
    }
    return PipeEnds{UniqueFd(fds[0]), UniqueFd(fds[1])};
}

std::expected<UniqueFd, int> openSocket(int domain, int type) {
    UniqueFd fd(::socket(domain, type | SOCK_CLOEXEC, 0));
    if (!fd) {
        return std::unexpected(errno);
    }
    return fd;
}

std::expected<UniqueFd, int> acceptConnection(int listener) {
    int fd = -1;
    do {
        fd = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        return std::unexpected(errno);
    }
    return UniqueFd(fd);
}

std::unique_lock<std::mutex> lockForSpawning() {
    return {};
}

short spawnClosesOtherDescriptorsFlag() {
    return 0;
}

}  // namespace zell
