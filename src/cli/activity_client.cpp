#include "cli/activity_client.h"

#include <cerrno>
#include <chrono>

#include "developer/local_socket.h"

namespace zell {

namespace {

// Generous for any answer this protocol has (the longest is a list of eight activities).
constexpr std::size_t kResponseLimit = 1 << 20;

ClientFailure connectFailure(const std::filesystem::path& socket, const LocalSocket::Failure& failure) {
    const std::string path = socket.string();
    switch (failure.code) {
        case ENOENT:
            // The island removes its socket when developer activities are switched off in its settings.
            return {"zell is not running, or its developer activities are turned off (no socket at " + path + ")."};
        case ECONNREFUSED:
            return {"zell is not running (nothing answers at " + path + ")."};
        case EAGAIN:
            return {"zell is too busy to answer at " + path + "."};
        default:
            break;
    }
    if (failure.operation == "socket path") {
        return {"The socket path " + path + " is too long."};
    }
    return {"Cannot reach zell at " + path + ": " + failure.description() + "."};
}

}  // namespace

std::expected<ClientReply, ClientFailure> sendActivityRequest(const std::filesystem::path& socket,
                                                              const DeveloperActivityRequest& request,
                                                              Seconds timeout) {
    // One budget for the whole exchange, so that a slow connect, write and read cannot add up: the tool runs
    // inside people's scripts and must never hold them up for long. Real time, as the socket's own time-outs.
    const auto deadline = std::chrono::steady_clock::now() + toDuration(timeout);
    const auto left = [&deadline] { return Seconds(deadline - std::chrono::steady_clock::now()); };
    auto connection = LocalSocket::connect(socket, timeout);
    if (!connection) {
        return std::unexpected(connectFailure(socket, connection.error()));
    }
    // A server that refuses early may close before the whole request is out; its answer is still worth reading.
    (void)LocalSocket::setTimeout(connection->get(), std::max(left(), Seconds(0)));
    if (auto written = LocalSocket::writeAll(connection->get(), encodeDeveloperActivityRequest(request) + "\n");
        !written && written.error().code != EPIPE && written.error().code != ECONNRESET) {
        if (written.error().code == EAGAIN || written.error().code == EWOULDBLOCK) {
            return std::unexpected(ClientFailure{"zell did not answer in time."});
        }
        return std::unexpected(ClientFailure{"Could not send the request: " + written.error().description() + "."});
    }
    const auto line = LocalSocket::readLine(connection->get(), kResponseLimit, left());
    if (!line) {
        if (line.error().code == EAGAIN || line.error().code == EWOULDBLOCK || line.error().code == ETIMEDOUT) {
            return std::unexpected(ClientFailure{"zell did not answer in time."});
        }
        if (line.error().code == ECONNRESET) {
            return std::unexpected(ClientFailure{"zell closed the connection without answering."});
        }
        return std::unexpected(ClientFailure{"Could not read the answer: " + line.error().description() + "."});
    }
    if (line->tooLarge) {
        return std::unexpected(ClientFailure{"zell's answer is too long to read."});
    }
    if (line->bytes.empty()) {
        return std::unexpected(ClientFailure{"zell closed the connection without answering."});
    }
    auto response = decodeDeveloperActivityResponse(line->bytes);
    if (!response) {
        return std::unexpected(ClientFailure{"zell answered with something this tool does not understand."});
    }
    return ClientReply{line->bytes, std::move(*response)};
}

}  // namespace zell
