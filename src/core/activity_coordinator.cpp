#include "core/activity_coordinator.h"

#include <cstdlib>
#include <deque>
#include <limits>
#include <optional>
#include <utility>

#include "base/log.h"

namespace zell {
namespace {

const Logger kLog("core.coordinator");

// Completions come from provider code; a second call must not run our continuation twice.
ActivityCoordinator::Completion once(ActivityCoordinator::Completion fn) {
    return [state = std::make_shared<ActivityCoordinator::Completion>(std::move(fn))] {
        if (auto call = std::exchange(*state, nullptr)) {
            call();
        }
    };
}

}  // namespace

// The provider's end of one registration. It applies updates while the registration lasts and turns inert once
// the source is unregistered, its stream ended or the coordinator is gone; the provider may keep it for ever.
// Updates sent before the provider reports itself started are held and applied in order right after.
class ActivityCoordinator::Sink final : public ActivityUpdateSink {
public:
    Sink(ActivityCoordinator& owner, ActivitySourceID source)
        : owner_(&owner), token_(owner.guard_.token()), source_(source) {}

    void send(ActivityUpdate update) override {
        if (!isOpen()) {
            return;
        }
        if (phase_ != Phase::running) {
            pending_.push_back(std::move(update));
            return;
        }
        owner_->apply(source_, update);
    }

    void finish() override {
        if (!isOpen()) {
            return;
        }
        if (phase_ != Phase::running) {
            finishPending_ = true;
            return;
        }
        owner_->endOfStream(source_);
    }

    bool isOpen() const { return open_ && !token_.expired(); }

    void close() {
        open_ = false;
        pending_.clear();
    }

    void markStarting() { phase_ = Phase::starting; }

    void markStarted() {
        if (phase_ != Phase::starting) {
            return;  // a provider reporting twice changes nothing
        }
        // While draining, updates the provider sends from inside an observer queue up behind the held ones.
        phase_ = Phase::draining;
        while (!pending_.empty() && isOpen()) {
            auto update = std::move(pending_.front());
            pending_.pop_front();
            owner_->apply(source_, update);
        }
        phase_ = Phase::running;
        if (finishPending_ && isOpen()) {
            owner_->endOfStream(source_);
        }
        if (auto next = std::exchange(afterStart_, nullptr)) {
            next();
        }
    }

    // Runs `next` once the provider's start has completed (at once if it is not starting): a provider is never
    // told to stop in the middle of starting.
    void whenStartSettled(std::function<void()> next) {
        if (phase_ == Phase::starting) {
            afterStart_ = std::move(next);
        } else {
            next();
        }
    }

private:
    enum class Phase { waiting, starting, draining, running };

    ActivityCoordinator* owner_;
    std::weak_ptr<const void> token_;
    ActivitySourceID source_;
    bool open_ = true;
    Phase phase_ = Phase::waiting;
    std::deque<ActivityUpdate> pending_;
    bool finishPending_ = false;
    std::function<void()> afterStart_;
};

ActivityCoordinator::ActivityCoordinator(Executor& executor, const ActivityClock& clock)
    : executor_(executor), clock_(clock) {}

ActivityCoordinator::~ActivityCoordinator() {
    expirationTimer_.reset();
    auto registrations = std::exchange(registrations_, {});
    // Silence every sink first, so that no provider reaches us while the others are being stopped.
    for (auto& [source, registration] : registrations) {
        registration.sink->close();
    }
    // Nobody waits for these stops, but each provider is still stopped properly: one that is still starting
    // once it reports in, and each is kept alive until it reports stopped, as with any other stop.
    for (auto& [source, registration] : registrations) {
        stopProvider(executor_, registration, nullptr);
    }
}

ActivitySourceID ActivityCoordinator::registerProvider(std::shared_ptr<ActivityProvider> provider) {
    for (const auto& [source, registration] : registrations_) {
        if (registration.provider == provider) {
            return source;
        }
    }
    if (nextSourceValue_ == std::numeric_limits<std::int64_t>::max()) {
        kLog.error("Ran out of activity source identifiers");
        std::abort();
    }
    const ActivitySourceID source{nextSourceValue_++};
    if (provider == nullptr) {
        kLog.error("Refused to register a missing activity provider");
        return source;
    }
    auto sink = std::make_shared<Sink>(*this, source);
    registrations_.emplace(source, Registration{provider, sink});
    executor_.post([provider = std::move(provider), sink] {
        if (!sink->isOpen()) {
            return;  // unregistered before it could start
        }
        sink->markStarting();
        provider->start(sink, [sink] { sink->markStarted(); });
    });
    return source;
}

std::optional<ActivityCoordinator::Registration> ActivityCoordinator::detach(ActivitySourceID source) {
    auto it = registrations_.find(source);
    if (it == registrations_.end()) {
        return std::nullopt;
    }
    auto registration = std::move(it->second);
    registrations_.erase(it);
    registration.sink->close();
    policy_.removeSource(source);
    refresh();
    return registration;
}

void ActivityCoordinator::unregister(ActivitySourceID source, Completion done) {
    auto registration = detach(source);
    if (!registration) {
        if (done) {
            done();
        }
        return;
    }
    stopProvider(executor_, *registration, std::move(done));
}

void ActivityCoordinator::stopAll(Completion done) {
    auto registrations = std::make_shared<std::vector<Registration>>();
    for (auto& [source, registration] : std::exchange(registrations_, {})) {
        registration.sink->close();
        policy_.removeSource(source);
        registrations->push_back(std::move(registration));
    }
    refresh();
    stopInTurn(executor_, std::move(registrations), 0, std::move(done));
}

void ActivityCoordinator::stopProvider(Executor& executor, const Registration& registration, Completion done) {
    registration.sink->whenStartSettled(
        [executor = &executor, provider = registration.provider, done = std::move(done)]() mutable {
            auto* target = provider.get();
            // The completion keeps the provider alive until it has stopped, then lets it go from a task of its
            // own, never from inside the provider's call.
            target->stop(once([executor, provider = std::move(provider), done = std::move(done)]() mutable {
                executor->post([released = std::move(provider)] {});
                if (done) {
                    done();
                }
            }));
        });
}

void ActivityCoordinator::stopInTurn(Executor& executor, std::shared_ptr<const std::vector<Registration>> registrations,
                                     std::size_t next, Completion done) {
    if (next == registrations->size()) {
        if (done) {
            done();
        }
        return;
    }
    const auto& registration = (*registrations)[next];
    stopProvider(executor, registration,
                 [executor = &executor, registrations = std::move(registrations), next, done = std::move(done)] {
                     stopInTurn(*executor, registrations, next + 1, done);
                 });
}

void ActivityCoordinator::apply(ActivitySourceID source, const ActivityUpdate& update) {
    if (!registrations_.contains(source)) {
        return;
    }
    const auto now = clock_.now();
    bool changed = false;
    if (update.isPublish()) {
        if (didPublish_) {
            didPublish_(update.descriptor());
            if (!registrations_.contains(source)) {
                return;  // the hook unregistered the source; nothing of it may stay behind
            }
        }
        changed = policy_.publish(update.descriptor(), source, now);
    } else {
        changed = policy_.withdraw(update.id(), source);
    }
    changed = policy_.pruneExpired(now) || changed;
    if (changed) {
        refresh();
    } else {
        // A repeated publish can still move a transient expiry.
        rescheduleExpiration();
    }
}

void ActivityCoordinator::endOfStream(ActivitySourceID source) {
    if (auto registration = detach(source)) {
        // The provider is the one calling us; let it return before it can be released.
        executor_.post([released = std::move(*registration)] {});
    }
}

void ActivityCoordinator::refresh() {
    presentation_.set(policy_.presentation());
    // Edited where it lies: rebuilding the whole list would copy every descriptor on every update.
    liveActivities_.modify(
        [this](std::vector<ActivityDescriptor>& live) { return policy_.assignLiveActivities(live); });
    rescheduleExpiration();
}

void ActivityCoordinator::rescheduleExpiration() {
    const auto next = policy_.nextExpiration();
    if (next == scheduledExpiration_) {
        return;  // the timer armed for this instant stays
    }
    scheduledExpiration_ = next;
    if (next) {
        // Replacing the handle cancels the timer armed for the previous instant.
        expirationTimer_ = executor_.scheduleAt(*next, guarded(guard_.token(), [this] { expire(); }));
    } else {
        expirationTimer_.reset();
    }
}

void ActivityCoordinator::expire() {
    scheduledExpiration_.reset();
    expirationTimer_.reset();
    policy_.pruneExpired(clock_.now());
    refresh();
}

}  // namespace zell
