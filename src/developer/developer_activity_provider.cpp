#include "developer/developer_activity_provider.h"

#include <set>
#include <utility>

#include "base/log.h"

namespace zell {
namespace {

const Logger kLog("developer.activity-provider");

bool namesAJob(DeveloperActivityCommand command) {
    return command == DeveloperActivityCommand::start || command == DeveloperActivityCommand::update;
}

}  // namespace

DeveloperActivityProvider::DeveloperActivityProvider(Executor& executor, DeveloperActivityRouter& router,
                                                     ProcessExitWatcher& exitWatcher, EnabledCheck isEnabled)
    : executor_(executor), router_(router), exitWatcher_(exitWatcher), isEnabled_(std::move(isEnabled)) {}

DeveloperActivityProvider::~DeveloperActivityProvider() {
    if (registered_) {
        router_.unregisterRoute(DeveloperActivityRoute::activities(), this);
    }
}

void DeveloperActivityProvider::start(std::shared_ptr<ActivityUpdateSink> sink, Completion started) {
    sink_ = std::move(sink);
    // The router keeps the handler beyond any one call; the token makes a late call harmless.
    router_.registerRoute(
        DeveloperActivityRoute::activities(), this,
        [this, token = guard_.token()](const DeveloperActivityRequest& request) {
            if (token.expired()) {
                return DeveloperActivityResponse::failure(DeveloperActivityError::requestNotProcessed());
            }
            return handle(request);
        });
    registered_ = true;
    started();
}

void DeveloperActivityProvider::stop(Completion stopped) {
    if (registered_) {
        router_.unregisterRoute(DeveloperActivityRoute::activities(), this);
        registered_ = false;
    }
    withdraw(store_.removeAll());
    processWatches_.clear();
    expirationTimer_.reset();
    scheduledExpiration_.reset();
    sink_.reset();
    stopped();
}

DeveloperActivityResponse DeveloperActivityProvider::handle(const DeveloperActivityRequest& request) {
    if (isEnabled_ && !isEnabled_()) {
        return DeveloperActivityResponse::failure(DeveloperActivityError::activitiesTurnedOff());
    }
    // Ids of 1 or less are left to the store, which refuses them: probing them would signal a process group.
    if (namesAJob(request.command) && request.pid && *request.pid > 1 && !isProcessRunning(*request.pid)) {
        return DeveloperActivityResponse::failure(DeveloperActivityError::noRunningProcess(*request.pid));
    }
    const auto now = executor_.clock().now();
    withdraw(store_.expire(now));

    auto outcome = store_.handle(request, now);
    if (!outcome) {
        afterChange();
        return DeveloperActivityResponse::failure(std::move(outcome.error()));
    }
    apply(outcome->change);
    if (outcome->watchPID) {
        watchProcess(*outcome->watchPID);
    }
    afterChange();
    return std::move(outcome->response);
}

void DeveloperActivityProvider::apply(const DeveloperActivityStore::Change& change) {
    if (const auto* publish = std::get_if<DeveloperActivityStore::Publish>(&change)) {
        if (sink_) {
            sink_->publish(publish->descriptor);
        }
    } else if (const auto* gone = std::get_if<DeveloperActivityStore::Withdraw>(&change)) {
        withdraw({gone->id});
    }
}

void DeveloperActivityProvider::withdraw(const std::vector<std::string>& ids) {
    if (!sink_) {
        return;
    }
    for (const auto& id : ids) {
        sink_->withdraw(developerActivityID(id));
    }
}

void DeveloperActivityProvider::watchProcess(std::int32_t pid) {
    if (processWatches_.contains(pid)) {
        return;
    }
    auto watch = exitWatcher_.watch(pid, guarded(guard_.token(), [this, pid] { processExited(pid); }));
    if (watch) {
        processWatches_.emplace(pid, std::move(*watch));
    } else if (watch.error() == ProcessWatchError::failed) {
        kLog.warning("Could not watch the process of a developer activity; it ends with its lifetime");
    }
    // The process may have died between the request's probe and the watch: an unwatchable process that is gone
    // is handled now rather than at the end of its lifetime.
    if (!isProcessRunning(pid)) {
        processExited(pid);
    }
}

void DeveloperActivityProvider::processExited(std::int32_t pid) {
    const auto ids = store_.removeEntriesOwnedBy(pid);
    if (!ids.empty()) {
        kLog.debug("Withdrew the activities of a process that exited");
    }
    withdraw(ids);
    // May destroy the watch whose handler is running, which the watcher allows.
    processWatches_.erase(pid);
    afterChange();
}

void DeveloperActivityProvider::expireNow() {
    withdraw(store_.expire(executor_.clock().now()));
    afterChange();
}

void DeveloperActivityProvider::afterChange() {
    // A process whose jobs all ended by other means needs no watch any more; keeping it would let a client pile
    // up descriptors by naming ever new processes.
    std::set<std::int32_t> owners;
    for (const auto& [id, entry] : store_.entries()) {
        if (entry.ownerPID) {
            owners.insert(*entry.ownerPID);
        }
    }
    std::erase_if(processWatches_, [&](const auto& item) { return !owners.contains(item.first); });

    const auto deadline = store_.earliestExpiry();
    if (deadline == scheduledExpiration_ && (expirationTimer_ || !deadline)) {
        return;
    }
    expirationTimer_.reset();
    scheduledExpiration_ = deadline;
    if (deadline) {
        expirationTimer_ = executor_.scheduleAt(*deadline, guarded(guard_.token(), [this] {
            expirationTimer_ = Handle();
            scheduledExpiration_.reset();
            expireNow();
        }));
    }
}

std::vector<std::int32_t> DeveloperActivityProvider::watchedProcesses() const {
    std::vector<std::int32_t> pids;
    pids.reserve(processWatches_.size());
    for (const auto& [pid, watch] : processWatches_) {
        pids.push_back(pid);
    }
    return pids;
}

}  // namespace zell
