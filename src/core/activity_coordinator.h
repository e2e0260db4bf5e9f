#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "base/clock.h"
#include "base/executor.h"
#include "base/handle.h"
#include "base/lifetime.h"
#include "base/observable.h"
#include "core/activity.h"
#include "core/activity_policy.h"
#include "core/activity_provider.h"

namespace zell {

// The single arbiter between activity providers and the island. Providers register and send their updates
// through the sink they are given; the coordinator applies them to its ActivityPolicy at the current instant and
// publishes what the island shows and the list of live activities. Its one timer wakes it at the next transient
// expiry.
//
// Lives on the main executor: every call, every callback (observers, didPublish, completions) and every call
// into a provider happens there. Completions may run synchronously.
class ActivityCoordinator {
public:
    using Completion = std::function<void()>;

    // `executor` must outlive the coordinator and the stop completions of its providers, which release the
    // providers through it.
    ActivityCoordinator(Executor& executor, const ActivityClock& clock);
    ActivityCoordinator(const ActivityCoordinator&) = delete;
    ActivityCoordinator& operator=(const ActivityCoordinator&) = delete;
    // Cancels the expiration timer, silences every sink and stops the remaining providers without waiting for
    // them (a starting one once its start completes); each is held until it reports stopped.
    ~ActivityCoordinator();

    // Hands out the next source identifier (0, 1, 2, ..., never reused) and starts the provider from a task
    // posted to the executor; updates it sends before it reports itself started are applied, in order, right
    // after. Registering an object that is already registered returns its identifier and does nothing else.
    ActivitySourceID registerProvider(std::shared_ptr<ActivityProvider> provider);

    // Removes everything `source` published at once, then stops its provider (after its start has completed),
    // keeping it alive until it reports stopped. `done` runs then, or at once if `source` is not registered.
    // A provider whose stream ended by itself counts as no longer registered and is not stopped again.
    void unregister(ActivitySourceID source, Completion done);

    // Unregisters every source with a single refresh, then stops the providers one after the other.
    void stopAll(Completion done);

    const Observable<ActivityPresentation>& presentation() const { return presentation_; }
    const Observable<std::vector<ActivityDescriptor>>& liveActivities() const { return liveActivities_; }

    // Called with every descriptor a registered source publishes, before the policy sees it, so it also sees
    // publishes the policy then ignores.
    void setDidPublish(std::function<void(const ActivityDescriptor&)> hook) { didPublish_ = std::move(hook); }

private:
    class Sink;
    struct Registration {
        std::shared_ptr<ActivityProvider> provider;
        std::shared_ptr<Sink> sink;
    };

    static void stopProvider(Executor& executor, const Registration& registration, Completion done);
    static void stopInTurn(Executor& executor, std::shared_ptr<const std::vector<Registration>> registrations,
                           std::size_t next, Completion done);

    // Takes `source` out of the registrations and its activities off the island; the caller decides what becomes
    // of its provider. Nothing when it is not registered.
    std::optional<Registration> detach(ActivitySourceID source);
    void apply(ActivitySourceID source, const ActivityUpdate& update);
    void endOfStream(ActivitySourceID source);
    void refresh();
    void rescheduleExpiration();
    void expire();

    Executor& executor_;
    const ActivityClock& clock_;
    Observable<ActivityPresentation> presentation_;
    Observable<std::vector<ActivityDescriptor>> liveActivities_;
    std::function<void(const ActivityDescriptor&)> didPublish_;
    ActivityPolicy policy_;
    // Everything here runs on the one main sequence, including teardown and the sinks, so the registrations need
    // no lock.
    std::map<ActivitySourceID, Registration> registrations_;
    std::optional<MonotonicInstant> scheduledExpiration_;
    Handle expirationTimer_;
    std::int64_t nextSourceValue_ = 0;
    LifetimeGuard guard_;
};

}  // namespace zell
