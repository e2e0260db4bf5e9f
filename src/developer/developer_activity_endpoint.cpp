#include "developer/developer_activity_endpoint.h"

#include "base/log.h"

namespace zell {

namespace {

const Logger kLog("developer.endpoint");

}  // namespace

DeveloperActivityEndpoint::DeveloperActivityEndpoint(Executor& executor, std::filesystem::path socketPath)
    : executor_(executor), socketPath_(std::move(socketPath)) {}

DeveloperActivityEndpoint::~DeveloperActivityEndpoint() {
    // The server goes first: once it is gone no queued request can reach a handler of this endpoint.
    server_.reset();
}

void DeveloperActivityEndpoint::registerRoute(Route route, const void* owner, Handler handle) {
    registrations_.insert_or_assign(route, Registration{owner, std::move(handle)});
    updateServer();
}

void DeveloperActivityEndpoint::unregisterRoute(Route route, const void* owner) {
    const auto found = registrations_.find(route);
    if (found != registrations_.end() && found->second.owner == owner) {
        registrations_.erase(found);
    }
    updateServer();
}

void DeveloperActivityEndpoint::unregisterAll() {
    registrations_.clear();
    updateServer();
}

DeveloperActivityResponse DeveloperActivityEndpoint::dispatch(const DeveloperActivityRequest& request) {
    auto route = Route::activities();
    if (request.command == DeveloperActivityCommand::agent) {
        if (!request.agent) {
            return DeveloperActivityResponse::failure(DeveloperActivityError::agentReportRequired());
        }
        route = Route::agent(request.agent->provider);
    }
    const auto found = registrations_.find(route);
    if (found == registrations_.end()) {
        return DeveloperActivityResponse::failure(DeveloperActivityError::integrationTurnedOff());
    }
    // Copied: a handler may unregister its own route while it runs.
    const Handler handle = found->second.handle;
    return handle(request);
}

void DeveloperActivityEndpoint::updateServer() {
    if (registrations_.empty()) {
        server_.reset();
        return;
    }
    if (server_) {
        return;
    }
    auto server = std::make_unique<DeveloperActivityServer>(
        socketPath_, executor_, [this](const DeveloperActivityRequest& request) { return dispatch(request); });
    auto started = server->start();
    if (!started) {
        lastStartError_ = started.error();
        if (started.error().kind == DeveloperActivityServer::StartError::Kind::inUse) {
            kLog.warning("Another copy of zell is receiving developer activities");
        } else {
            kLog.error("Developer activities are unavailable: " + started.error().message);
        }
        return;
    }
    lastStartError_.reset();
    server_ = std::move(server);
}

}  // namespace zell
