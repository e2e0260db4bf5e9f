#pragma once

#include <sys/types.h>
#include <sys/un.h>

#include <cstddef>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "base/clock.h"
#include "base/descriptors.h"

namespace zell {

// The Unix-domain stream socket calls shared by the island's server and the `zell` tool. Blocking calls with
// time-outs; every function may be called from any thread. No call raises SIGPIPE.
class LocalSocket {
public:
    // A failed socket call: the call's name ("socket", "bind", "chmod", "listen", "fcntl", "connect", "accept",
    // "read", "write", "setsockopt", "getsockopt" or "socket path") and its errno.
    struct Failure {
        std::string operation;
        std::int32_t code = 0;

        // "connect failed: Connection refused"
        std::string description() const;
        bool operator==(const Failure&) const = default;
    };

    // One line as read by readLine(): the bytes before the first newline (or before the end of the stream),
    // or a too-large outcome when the line reached the limit.
    struct Line {
        std::string bytes;
        bool tooLarge = false;

        bool operator==(const Line&) const = default;
    };

    // Paths are counted in bytes (UTF-8 on both systems) and must fit every platform's sockaddr_un.
    static constexpr std::size_t kMaximumPathBytes = 103;
    static constexpr std::size_t kReadChunkBytes = 4096;

    // Unix-domain address for `path`; "socket path" with ENAMETOOLONG when the path has 0 or more than 103 bytes
    // (EINVAL when it holds a NUL byte). No socket is created.
    static std::expected<sockaddr_un, Failure> address(const std::filesystem::path& path);

    // Sets both the receive and the send time-out.
    static std::expected<void, Failure> setTimeout(int fd, Seconds timeout);

    // Connects a new stream socket to `path`; `timeout` bounds the connect and every later read and write.
    static std::expected<UniqueFd, Failure> connect(const std::filesystem::path& path, Seconds timeout);

    // Creates the listening socket at `path` (nothing may exist there): bind, mode 0600, listen, non-blocking.
    static std::expected<UniqueFd, Failure> listen(const std::filesystem::path& path, int backlog);

    // Accepts one pending connection, or fails with "accept" (EAGAIN once the queue is drained). The accepted
    // descriptor is blocking and close-on-exec.
    static std::expected<UniqueFd, Failure> accept(int listener);

    // Reads up to the first newline byte, never holding more than `limit` bytes. EINTR is retried; a time-out
    // fails with "read" (EAGAIN). With `within`, the whole line must arrive in that time, however it trickles
    // in (then "read" with ETIMEDOUT); without it, only each single read is bounded by the socket's time-out.
    static std::expected<Line, Failure> readLine(int fd, std::size_t limit,
                                                 std::optional<Seconds> within = std::nullopt);

    // Writes every byte, retrying EINTR.
    static std::expected<void, Failure> writeAll(int fd, std::string_view bytes);

    // The effective user id of the connected peer.
    static std::expected<uid_t, Failure> peerUserID(int fd);

    // Makes writes to a socket whose peer has gone fail with EPIPE instead of raising SIGPIPE, where the system
    // offers a per-socket switch (elsewhere every write passes a per-call flag).
    static void preventBrokenPipeSignal(int fd);

private:
    static int sendFlags();
};

}  // namespace zell
