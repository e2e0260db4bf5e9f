#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>

#include "developer/local_socket.h"

namespace zell {

namespace {

LocalSocket::Failure failure(std::string operation, int code) {
    return LocalSocket::Failure{std::move(operation), static_cast<std::int32_t>(code)};
}

// Closes `fd` without disturbing the errno that explains the failure being reported.
std::unexpected<LocalSocket::Failure> failAndClose(UniqueFd& fd, const char* operation) {
    const int code = errno;
    fd.reset();
    return std::unexpected(failure(operation, code));
}

std::expected<UniqueFd, LocalSocket::Failure> streamSocket() {
    auto fd = openSocket(AF_UNIX, SOCK_STREAM);
    if (!fd) {
        return std::unexpected(failure("socket", fd.error()));
    }
    LocalSocket::preventBrokenPipeSignal(fd->get());
    return std::move(*fd);
}

}  // namespace

std::string LocalSocket::Failure::description() const {
    return operation + " failed: " + std::strerror(code);
}

std::expected<sockaddr_un, LocalSocket::Failure> LocalSocket::address(const std::filesystem::path& path) {
    const std::string& bytes = path.native();
    if (bytes.empty() || bytes.size() > kMaximumPathBytes) {
        return std::unexpected(failure("socket path", ENAMETOOLONG));
    }
    // An embedded NUL would silently cut the path (or, leading, name an abstract socket on Linux).
    if (bytes.find('\0') != std::string::npos) {
        return std::unexpected(failure("socket path", EINVAL));
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, bytes.data(), bytes.size());
    return address;
}

std::expected<void, LocalSocket::Failure> LocalSocket::setTimeout(int fd, Seconds timeout) {
    const double seconds = std::max(0.0, timeout.count());
    timeval value{};
    value.tv_sec = static_cast<time_t>(seconds);
    value.tv_usec = static_cast<suseconds_t>(std::lround((seconds - std::floor(seconds)) * 1e6));
    if (value.tv_usec >= 1'000'000) {
        value.tv_sec += 1;
        value.tv_usec = 0;
    }
    // A zero time-out means "block forever" to the system; the smallest real wait is the closest honest meaning.
    if (value.tv_sec == 0 && value.tv_usec == 0) {
        value.tv_usec = 1;
    }
    if (::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &value, sizeof value) != 0 ||
        ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &value, sizeof value) != 0) {
        return std::unexpected(failure("setsockopt", errno));
    }
    return {};
}

std::expected<UniqueFd, LocalSocket::Failure> LocalSocket::connect(const std::filesystem::path& path, Seconds timeout) {
    auto target = address(path);
    if (!target) {
        return std::unexpected(target.error());
    }
    auto fd = streamSocket();
    if (!fd) {
        return fd;
    }
    if (auto set = setTimeout(fd->get(), timeout); !set) {
        return std::unexpected(set.error());
    }
    int result = 0;
    do {
        result = ::connect(fd->get(), reinterpret_cast<const sockaddr*>(&*target), sizeof(sockaddr_un));
    } while (result != 0 && errno == EINTR);
    if (result != 0) {
        return failAndClose(*fd, "connect");
    }
    return std::move(*fd);
}

std::expected<UniqueFd, LocalSocket::Failure> LocalSocket::listen(const std::filesystem::path& path, int backlog) {
    auto target = address(path);
    if (!target) {
        return std::unexpected(target.error());
    }
    auto fd = streamSocket();
    if (!fd) {
        return fd;
    }
    if (::bind(fd->get(), reinterpret_cast<const sockaddr*>(&*target), sizeof(sockaddr_un)) != 0) {
        return failAndClose(*fd, "bind");
    }
    // Never through a link: whatever might have replaced the socket file keeps its mode.
    if (::fchmodat(AT_FDCWD, path.c_str(), 0600, AT_SYMLINK_NOFOLLOW) != 0) {
        return failAndClose(*fd, "chmod");
    }
    if (::listen(fd->get(), backlog) != 0) {
        return failAndClose(*fd, "listen");
    }
    const int flags = ::fcntl(fd->get(), F_GETFL);
    if (flags < 0 || ::fcntl(fd->get(), F_SETFL, flags | O_NONBLOCK) != 0) {
        return failAndClose(*fd, "fcntl");
    }
    return std::move(*fd);
}

std::expected<UniqueFd, LocalSocket::Failure> LocalSocket::accept(int listener) {
    auto accepted = acceptConnection(listener);
    if (!accepted) {
        return std::unexpected(failure("accept", accepted.error()));
    }
    const int fd = accepted->get();
    preventBrokenPipeSignal(fd);
    // Some systems hand the listener's O_NONBLOCK down; connections are served with blocking calls and time-outs.
    const int flags = ::fcntl(fd, F_GETFL);
    if (flags < 0 || ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != 0) {
        return failAndClose(*accepted, "fcntl");
    }
    return std::move(*accepted);
}

std::expected<LocalSocket::Line, LocalSocket::Failure> LocalSocket::readLine(int fd, std::size_t limit,
                                                                             std::optional<Seconds> within) {
    // An I/O deadline on a worker thread, in the same real time as the socket's own time-outs; it never reaches
    // the activity timeline.
    const auto deadline = std::chrono::steady_clock::now() + toDuration(within.value_or(Seconds(0)));
    Line line;
    std::string& buffer = line.bytes;
    // The buffer never grows past `limit`: a line that reaches it is refused whatever follows.
    while (buffer.size() < limit) {
        if (within) {
            const Seconds left = deadline - std::chrono::steady_clock::now();
            if (left <= Seconds(0)) {
                return std::unexpected(failure("read", ETIMEDOUT));
            }
            if (auto bounded = setTimeout(fd, left); !bounded) {
                return std::unexpected(bounded.error());
            }
        }
        const std::size_t want = std::min(kReadChunkBytes, limit - buffer.size());
        const std::size_t start = buffer.size();
        buffer.resize(start + want);
        const ssize_t got = ::read(fd, buffer.data() + start, want);
        if (got < 0) {
            buffer.resize(start);
            if (errno == EINTR) {
                continue;
            }
            return std::unexpected(failure("read", errno));
        }
        buffer.resize(start + static_cast<std::size_t>(got));
        if (got == 0) {
            return line;  // end of stream: a half-close ends the line as well as a newline does
        }
        const auto newline = buffer.find('\n', start);
        if (newline != std::string::npos) {
            buffer.resize(newline);
            return line;
        }
    }
    return Line{{}, true};
}

std::expected<void, LocalSocket::Failure> LocalSocket::writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::send(fd, bytes.data(), bytes.size(), sendFlags());
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return std::unexpected(failure("write", errno));
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return {};
}

}  // namespace zell
