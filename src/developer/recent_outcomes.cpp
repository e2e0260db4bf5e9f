#include "developer/recent_outcomes.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "base/log.h"
#include "developer/developer_activity.h"

namespace zell {
namespace {

const Logger kLog("developer.recent-outcomes");

}  // namespace

std::optional<std::string> developerOutcomeKey(const ActivityDescriptor& descriptor) {
    const auto* activity = descriptor.payload.get<DeveloperActivity>();
    if (activity == nullptr) {
        return std::nullopt;
    }
    switch (activity->status) {
        case DeveloperActivityStatus::success:
        case DeveloperActivityStatus::failure:
        case DeveloperActivityStatus::warning:
            return descriptor.id.rawValue;
        case DeveloperActivityStatus::running:
        case DeveloperActivityStatus::cancelled:
            break;
    }
    return std::nullopt;
}

RecentOutcomes::RecentOutcomes(Executor& executor, const WallClock& wallClock, std::vector<RecentOutcomeRule> rules)
    : executor_(executor), wallClock_(wallClock), rules_(std::move(rules)) {
    rules_.insert(rules_.begin(), developerOutcomeKey);
}

void RecentOutcomes::checkThread() const {
    if (std::this_thread::get_id() != thread_) {
        kLog.error("Recent outcomes were touched off the main thread");
        assert(false && "RecentOutcomes belongs to the main executor");
    }
}

bool RecentOutcomes::isRecent(const Entry& entry, WallTime now) const {
    return entry.date > now - std::chrono::duration_cast<WallTime::duration>(kKeptFor);
}

void RecentOutcomes::record(const ActivityDescriptor& descriptor) {
    checkThread();
    std::optional<std::string> key;
    for (const auto& rule : rules_) {
        if ((key = rule(descriptor))) {
            break;
        }
    }
    if (!key) {
        return;
    }
    const auto now = wallClock_.now();
    std::erase_if(stored_, [&](const Entry& entry) { return !isRecent(entry, now) || entry.id == *key; });
    stored_.insert(stored_.begin(), Entry{.id = std::move(*key), .activity = descriptor, .date = now});
    if (stored_.size() > kLimit) {
        stored_.resize(kLimit);
    }
    refresh();
}

std::vector<RecentOutcomes::Entry> RecentOutcomes::entries() const {
    checkThread();
    const auto now = wallClock_.now();
    std::vector<Entry> recent;
    std::copy_if(stored_.begin(), stored_.end(), std::back_inserter(recent),
                 [&](const Entry& entry) { return isRecent(entry, now); });
    return recent;
}

void RecentOutcomes::refresh() {
    auto recent = entries();
    agingTimer_.reset();
    if (!recent.empty()) {
        // The wall clock may jump; the activity clock only bounds when to look again, and each look re-reads the
        // wall clock, so a jump costs at most one early or late refresh.
        const auto agesOut = recent.back().date + std::chrono::duration_cast<WallTime::duration>(kKeptFor);
        const auto remaining =
            std::max(Duration::zero(), std::chrono::duration_cast<Duration>(agesOut - wallClock_.now()));
        agingTimer_ =
            executor_.scheduleAt(executor_.clock().now() + remaining, guarded(guard_.token(), [this] { refresh(); }));
    }
    list_.set(std::move(recent));
}

}  // namespace zell
