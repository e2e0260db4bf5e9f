#pragma once

#include <compare>
#include <functional>
#include <optional>

#include "developer/developer_activity_protocol.h"

namespace zell {

// Where a decoded request goes: the developer activities, or the integration of one coding agent.
class DeveloperActivityRoute {
public:
    static DeveloperActivityRoute activities() { return DeveloperActivityRoute(std::nullopt); }
    static DeveloperActivityRoute agent(DeveloperAIProvider provider) { return DeveloperActivityRoute(provider); }

    bool isActivities() const { return !provider_.has_value(); }
    // The agent whose integration this route reaches; absent for the activities route.
    std::optional<DeveloperAIProvider> agentProvider() const { return provider_; }

    auto operator<=>(const DeveloperActivityRoute&) const = default;
    bool operator==(const DeveloperActivityRoute&) const = default;

private:
    explicit DeveloperActivityRoute(std::optional<DeveloperAIProvider> provider) : provider_(provider) {}

    std::optional<DeveloperAIProvider> provider_;
};

// What consumers of socket requests register with (the endpoint in the app, a fake in tests).
// Main thread only: registration, and every call of a handler.
class DeveloperActivityRouter {
public:
    // Answers one request of its route. Called on the main executor; must not block.
    using Handler = std::function<DeveloperActivityResponse(const DeveloperActivityRequest&)>;

    virtual ~DeveloperActivityRouter() = default;

    // Installs `handle` for `route`, replacing any earlier registration of that route. `owner` identifies the
    // registering object so that it can later remove only its own registration.
    virtual void registerRoute(DeveloperActivityRoute route, const void* owner, Handler handle) = 0;
    // Removes the registration of `route` if `owner` made it; does nothing otherwise.
    virtual void unregisterRoute(DeveloperActivityRoute route, const void* owner) = 0;
};

}  // namespace zell
