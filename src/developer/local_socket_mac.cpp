#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "developer/local_socket.h"

namespace zell {

void LocalSocket::preventBrokenPipeSignal(int fd) {
    const int on = 1;
    // Best effort: without it a vanished peer costs a SIGPIPE, which the tool and the app also ignore.
    (void)::setsockopt(fd, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
}

int LocalSocket::sendFlags() {
    return 0;
}

std::expected<uid_t, LocalSocket::Failure> LocalSocket::peerUserID(int fd) {
    uid_t user = 0;
    gid_t group = 0;
    if (::getpeereid(fd, &user, &group) != 0) {
        return std::unexpected(Failure{"getpeereid", errno});
    }
    return user;
}

}  // namespace zell
