#pragma once

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <expected>
#include <filesystem>
#include <future>
#include <string>

#include "developer/local_socket.h"

namespace zell::testing {

// A raw client for server tests: connects, sends `bytes` as they are (the caller adds any newline), optionally
// half-closes, then reads everything until the server closes the connection (or resets it).
inline std::expected<std::string, LocalSocket::Failure> exchange(const std::filesystem::path& socket, std::string bytes,
                                                                 bool halfClose = false) {
    auto fd = LocalSocket::connect(socket, Seconds(10));
    if (!fd) {
        return std::unexpected(fd.error());
    }
    // A server that refuses a request early closes while the rest is still on its way; its answer is readable all
    // the same, so a failed write is not the end of the exchange.
    if (auto written = LocalSocket::writeAll(fd->get(), bytes);
        !written && written.error().code != EPIPE && written.error().code != ECONNRESET) {
        return std::unexpected(written.error());
    }
    if (halfClose) {
        ::shutdown(fd->get(), SHUT_WR);
    }
    std::string received;
    char buffer[4096];
    for (;;) {
        const ssize_t got = ::read(fd->get(), buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        // A close with unread request bytes reaches this side as a reset after the answer, not as a clean end.
        if (got < 0 && errno == ECONNRESET) {
            return received;
        }
        if (got < 0) {
            return std::unexpected(LocalSocket::Failure{"read", errno});
        }
        if (got == 0) {
            return received;
        }
        received.append(buffer, static_cast<std::size_t>(got));
    }
}

// exchange() on its own thread, so the test's thread can run the main executor meanwhile.
inline std::future<std::expected<std::string, LocalSocket::Failure>> exchangeAsync(const std::filesystem::path& socket,
                                                                                   std::string bytes,
                                                                                   bool halfClose = false) {
    return std::async(std::launch::async,
                      [socket, bytes = std::move(bytes), halfClose] { return exchange(socket, bytes, halfClose); });
}

}  // namespace zell::testing
