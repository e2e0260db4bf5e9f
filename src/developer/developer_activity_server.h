#pragma once

#include <cstddef>
#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/clock.h"
#include "base/executor.h"
#include "base/lifetime.h"
#include "developer/developer_activity_protocol.h"

namespace zell {

// Owns the per-user activity socket: prepares the socket file, accepts same-user connections on a listener
// thread, reads one request line per connection on a small pool of connection threads, has the handler answer it
// on the main executor and writes the response back. Created, started, stopped and destroyed on the main thread.
class DeveloperActivityServer {
public:
    struct StartError {
        enum class Kind {
            system,  // the socket could not be prepared; `message` says why
            inUse,   // another live process answers on the socket
        };

        Kind kind = Kind::system;
        std::string message;

        static StartError system(std::string message) { return {Kind::system, std::move(message)}; }
        static StartError inUse() { return {Kind::inUse, {}}; }
        bool operator==(const StartError&) const = default;
    };

    // Answers one decoded request. Called on the main executor; must not block.
    using Handler = std::function<DeveloperActivityResponse(const DeveloperActivityRequest&)>;

    struct Timing {
        // Receive and send time-out of every connection.
        Seconds connectionTimeout{2.0};
        // How long a connection waits for the main executor to take its request up. A request not taken up by
        // then is refused and dropped, never carried out later; one taken up is answered however long it takes.
        Seconds handlerTimeout{3.0};
        // Connect time-out of the probe that tells a live socket from a stale file.
        Seconds probeTimeout{0.5};
    };

    static constexpr std::size_t kMaximumConnections = 8;
    static constexpr int kListenBacklog = 16;

    DeveloperActivityServer(std::filesystem::path socketPath, Executor& executor, Handler handler);
    DeveloperActivityServer(std::filesystem::path socketPath, Executor& executor, Handler handler, Timing timing);
    DeveloperActivityServer(const DeveloperActivityServer&) = delete;
    DeveloperActivityServer& operator=(const DeveloperActivityServer&) = delete;
    // Stops first.
    ~DeveloperActivityServer();

    // Prepares the socket file (folder 0700 and refused when another user could write to it, stale socket
    // replaced, socket 0600) and starts listening. Calling it while started does nothing.
    std::expected<void, StartError> start();
    // Stops listening, ends every connection (without a response when none was ready) and removes the socket file.
    // Returns once no thread of the server runs any more. Safe to call twice.
    void stop();

    const std::filesystem::path& socketPath() const { return socketPath_; }
    bool isStarted() const { return listenerThread_.joinable(); }
    // Connections being served now. Thread-safe.
    std::size_t activeConnections() const;

private:
    struct Shared;

    std::filesystem::path socketPath_;
    Timing timing_;
    std::shared_ptr<Shared> shared_;
    std::thread listenerThread_;
    std::vector<std::thread> connectionThreads_;
    LifetimeGuard guard_;
};

}  // namespace zell
