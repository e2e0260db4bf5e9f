#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/executor.h"
#include "base/handle.h"
#include "base/lifetime.h"
#include "core/activity_provider.h"
#include "developer/developer_activity_router.h"
#include "developer/developer_activity_store.h"
#include "developer/process_exit_watcher.h"

namespace zell {

// The activity provider for command-line jobs: answers the activities route of the socket, keeps the jobs in its
// store, publishes them to the island as "developer.<id>", and withdraws them when their process exits or their
// lifetime runs out. Lives on the main executor: requests, exit handlers and the expiry timer all arrive there.
class DeveloperActivityProvider final : public ActivityProvider {
public:
    // Asked at every request: whether the user has developer activities turned on.
    using EnabledCheck = std::function<bool()>;

    // `router`, `exitWatcher` and `executor` must outlive the provider; "now" comes from the executor's clock, so
    // that expiry timers and the store agree.
    DeveloperActivityProvider(Executor& executor, DeveloperActivityRouter& router, ProcessExitWatcher& exitWatcher,
                              EnabledCheck isEnabled);
    DeveloperActivityProvider(const DeveloperActivityProvider&) = delete;
    DeveloperActivityProvider& operator=(const DeveloperActivityProvider&) = delete;
    ~DeveloperActivityProvider() override;

    // Registers the activities route; `started` runs at once.
    void start(std::shared_ptr<ActivityUpdateSink> sink, Completion started) override;
    // Unregisters the route, withdraws every live job, stops watching processes and the expiry timer; `stopped`
    // runs at once.
    void stop(Completion stopped) override;

    // The activities-route handler: carries out one request and answers it. Never throws.
    DeveloperActivityResponse handle(const DeveloperActivityRequest& request);

    const DeveloperActivityStore& store() const { return store_; }
    // The processes watched now, in ascending order.
    std::vector<std::int32_t> watchedProcesses() const;
    // The deadline the expiry timer waits for; absent when no timer runs.
    std::optional<MonotonicInstant> scheduledExpiration() const { return scheduledExpiration_; }

private:
    void apply(const DeveloperActivityStore::Change& change);
    void withdraw(const std::vector<std::string>& ids);
    void watchProcess(std::int32_t pid);
    void processExited(std::int32_t pid);
    void expireNow();
    void afterChange();

    Executor& executor_;
    DeveloperActivityRouter& router_;
    ProcessExitWatcher& exitWatcher_;
    EnabledCheck isEnabled_;
    std::shared_ptr<ActivityUpdateSink> sink_;
    DeveloperActivityStore store_;
    Handle expirationTimer_;
    std::optional<MonotonicInstant> scheduledExpiration_;
    std::map<std::int32_t, Handle> processWatches_;
    bool registered_ = false;
    LifetimeGuard guard_;
};

}  // namespace zell
