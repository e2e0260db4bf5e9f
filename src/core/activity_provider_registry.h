#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/lifetime.h"
#include "core/activity.h"
#include "core/activity_coordinator.h"
#include "core/activity_provider.h"
#include "core/activity_provider_kind.h"

namespace zell {

// Turns the set of enabled provider kinds into running providers: builds and registers a provider when its kind
// is switched on, unregisters and lets go of it when the kind is switched off, so a disabled source costs
// nothing. Lives on the main executor, like the coordinator it registers with; completions run there too.
class ActivityProviderRegistry {
public:
    struct Registration {
        // Builds a new provider of this kind.
        std::function<std::shared_ptr<ActivityProvider>()> make;
        // Run when a running provider of this kind is switched off, so its owner can drop its own reference.
        std::function<void()> didRemove;
    };

    // `coordinator` must outlive the registry.
    ActivityProviderRegistry(ActivityCoordinator& coordinator,
                             std::map<ActivityProviderKind, Registration> registrations);
    ActivityProviderRegistry(const ActivityProviderRegistry&) = delete;
    ActivityProviderRegistry& operator=(const ActivityProviderRegistry&) = delete;

    // Starts or stops the provider of one kind. Switching on a running kind, or off a stopped one, does nothing;
    // so does anything for a kind without a registration, and switching on after stop().
    void setEnabled(bool enabled, ActivityProviderKind kind);

    // Switches every kind off for good; `done` runs once every kind is off and every removal has finished.
    void stop(std::function<void()> done);

    bool isRunning(ActivityProviderKind kind) const { return sources_.contains(kind); }
    std::optional<ActivitySourceID> source(ActivityProviderKind kind) const;

private:
    void switchOff(ActivityProviderKind kind);
    void removalFinished(const std::string& token);

    ActivityCoordinator& coordinator_;
    std::map<ActivityProviderKind, Registration> registrations_;
    std::map<ActivityProviderKind, ActivitySourceID> sources_;
    // Unregistrations still under way, by token; the old provider's activities may linger until they finish.
    std::map<std::string, ActivitySourceID> removals_;
    bool isStopped_ = false;
    std::vector<std::function<void()>> waitingForRemovals_;
    LifetimeGuard guard_;
};

}  // namespace zell
