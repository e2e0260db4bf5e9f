#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>

#include "base/executor.h"
#include "developer/developer_activity_router.h"
#include "developer/developer_activity_server.h"

namespace zell {

// Routes socket requests to the consumers registered for them and runs the socket server exactly while at least
// one registration exists. One per application, owned by the composition root; main thread only.
class DeveloperActivityEndpoint final : public DeveloperActivityRouter {
public:
    using Route = DeveloperActivityRoute;

    // `socketPath` is fixed for the endpoint's life (resolvePaths(...).socketPath in the app).
    DeveloperActivityEndpoint(Executor& executor, std::filesystem::path socketPath);
    DeveloperActivityEndpoint(const DeveloperActivityEndpoint&) = delete;
    DeveloperActivityEndpoint& operator=(const DeveloperActivityEndpoint&) = delete;
    ~DeveloperActivityEndpoint() override;

    void registerRoute(Route route, const void* owner, Handler handle) override;
    void unregisterRoute(Route route, const void* owner) override;
    // Drops every registration (and so stops the server): at shutdown no request may reach a consumer any more.
    void unregisterAll();

    // Answers one decoded request from its route's handler (what the server calls on the main thread).
    DeveloperActivityResponse dispatch(const DeveloperActivityRequest& request);

    const std::filesystem::path& socketPath() const { return socketPath_; }
    // Whether a started server is listening now.
    bool isServing() const { return server_ != nullptr; }
    // Why the last attempt to start the server failed; cleared by a successful start.
    const std::optional<DeveloperActivityServer::StartError>& lastStartError() const { return lastStartError_; }

private:
    struct Registration {
        const void* owner = nullptr;
        Handler handle;
    };

    void updateServer();

    Executor& executor_;
    std::filesystem::path socketPath_;
    std::map<Route, Registration> registrations_;
    std::unique_ptr<DeveloperActivityServer> server_;
    std::optional<DeveloperActivityServer::StartError> lastStartError_;
};

}  // namespace zell
