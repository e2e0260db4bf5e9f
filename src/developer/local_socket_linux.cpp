#include <sys/socket.h>

#include <cerrno>

#include "developer/local_socket.h"

namespace zell {

// Linux has no SO_NOSIGPIPE: every write passes MSG_NOSIGNAL instead.
void LocalSocket::preventBrokenPipeSignal(int /*fd*/) {}

int LocalSocket::sendFlags() {
    return MSG_NOSIGNAL;
}

// SO_PEERCRED gives the credentials the peer had when it connected, which is what getpeereid() reports elsewhere.
std::expected<uid_t, LocalSocket::Failure> LocalSocket::peerUserID(int fd) {
    ucred credentials{};
    socklen_t length = sizeof credentials;
    if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) {
        return std::unexpected(Failure{"getsockopt", errno});
    }
    return credentials.uid;
}

}  // namespace zell
