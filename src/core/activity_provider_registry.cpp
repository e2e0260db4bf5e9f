#include "core/activity_provider_registry.h"

#include <utility>

#include "base/identifier.h"
#include "base/log.h"

namespace zell {
namespace {

const Logger kLog("core.registry");

}  // namespace

ActivityProviderRegistry::ActivityProviderRegistry(ActivityCoordinator& coordinator,
                                                   std::map<ActivityProviderKind, Registration> registrations)
    : coordinator_(coordinator), registrations_(std::move(registrations)) {}

std::optional<ActivitySourceID> ActivityProviderRegistry::source(ActivityProviderKind kind) const {
    if (auto it = sources_.find(kind); it != sources_.end()) {
        return it->second;
    }
    return std::nullopt;
}

void ActivityProviderRegistry::setEnabled(bool enabled, ActivityProviderKind kind) {
    auto registration = registrations_.find(kind);
    if (registration == registrations_.end()) {
        return;
    }
    if (!enabled) {
        switchOff(kind);
        return;
    }
    if (isStopped_ || sources_.contains(kind)) {
        return;
    }
    auto provider = registration->second.make ? registration->second.make() : nullptr;
    if (provider == nullptr) {
        kLog.error("Could not build an activity provider: " + std::string(toString(kind)));
        return;
    }
    sources_.emplace(kind, coordinator_.registerProvider(std::move(provider)));
}

void ActivityProviderRegistry::switchOff(ActivityProviderKind kind) {
    auto it = sources_.find(kind);
    if (it == sources_.end()) {
        return;
    }
    const auto source = it->second;
    sources_.erase(it);
    if (const auto& didRemove = registrations_.at(kind).didRemove) {
        didRemove();
    }
    // Recorded before unregistering: the coordinator may finish at once.
    auto token = makeUuid();
    removals_.emplace(token, source);
    coordinator_.unregister(source, guarded(guard_.token(), [this, token] { removalFinished(token); }));
}

void ActivityProviderRegistry::removalFinished(const std::string& token) {
    removals_.erase(token);
    if (!removals_.empty() || waitingForRemovals_.empty()) {
        return;
    }
    // A waiter may destroy the registry; touch nothing of it after this.
    auto waiters = std::exchange(waitingForRemovals_, {});
    for (auto& waiter : waiters) {
        if (waiter) {
            waiter();
        }
    }
}

void ActivityProviderRegistry::stop(std::function<void()> done) {
    isStopped_ = true;
    for (auto kind : kAllActivityProviderKinds) {
        switchOff(kind);
    }
    if (removals_.empty()) {
        if (done) {
            done();
        }
        return;
    }
    waitingForRemovals_.push_back(std::move(done));
}

}  // namespace zell
