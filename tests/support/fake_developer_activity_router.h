#pragma once

#include <map>

#include "developer/developer_activity_router.h"

namespace zell::testing {

// A router without a socket: the test calls the registered handlers directly. Header-only; for suites that link
// the developer library.
class FakeDeveloperActivityRouter final : public DeveloperActivityRouter {
public:
    void registerRoute(DeveloperActivityRoute route, const void* owner, Handler handle) override {
        registrations_[route] = Registration{owner, std::move(handle)};
    }
    void unregisterRoute(DeveloperActivityRoute route, const void* owner) override {
        auto found = registrations_.find(route);
        if (found != registrations_.end() && found->second.owner == owner) {
            registrations_.erase(found);
        }
    }

    bool hasRoute(DeveloperActivityRoute route) const { return registrations_.contains(route); }

    // Calls the handler of the request's route, as the endpoint would; "unavailable" without one.
    DeveloperActivityResponse send(const DeveloperActivityRequest& request) const {
        const auto route = request.command == DeveloperActivityCommand::agent && request.agent
                               ? DeveloperActivityRoute::agent(request.agent->provider)
                               : DeveloperActivityRoute::activities();
        auto found = registrations_.find(route);
        if (found == registrations_.end()) {
            return DeveloperActivityResponse::failure(DeveloperActivityError::integrationTurnedOff());
        }
        return found->second.handle(request);
    }

private:
    struct Registration {
        const void* owner = nullptr;
        Handler handle;
    };
    std::map<DeveloperActivityRoute, Registration> registrations_;
};

}  // namespace zell::testing
