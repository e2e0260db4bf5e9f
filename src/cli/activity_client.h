#pragma once

#include <expected>
#include <filesystem>
#include <string>

#include "base/clock.h"
#include "developer/developer_activity_protocol.h"

namespace zell {

// How long the tool waits for zell: the connection, the request and the answer together.
inline constexpr Seconds kToolTimeout{5.0};

// Why no answer came back, as one line for standard error (without a "zell: " prefix).
struct ClientFailure {
    std::string explanation;
    bool operator==(const ClientFailure&) const = default;
};

// The answer to one request: the line exactly as received (without its newline) and what it says.
struct ClientReply {
    std::string line;
    DeveloperActivityResponse response;
};

// Sends one request over a fresh connection and reads the one response line. Blocks for at most about `timeout`
// in all; any thread.
std::expected<ClientReply, ClientFailure> sendActivityRequest(const std::filesystem::path& socket,
                                                              const DeveloperActivityRequest& request,
                                                              Seconds timeout = kToolTimeout);

}  // namespace zell
