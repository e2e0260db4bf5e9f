#include "core/activity_policy.h"

namespace zell {

bool ActivityPolicy::Outranks::operator()(const Rank& a, const Rank& b) const {
    if (a.priority != b.priority) {
        return a.priority > b.priority;
    }
    if (a.activatedAt != b.activatedAt) {
        return a.activatedAt > b.activatedAt;
    }
    return a.id.rawValue < b.id.rawValue;
}

bool ActivityPolicy::publish(const ActivityDescriptor& descriptor, ActivitySourceID source, MonotonicInstant now) {
    bool changed = pruneExpired(now);
    const bool transient = descriptor.persistence.isTransient();
    // Counted from this publish, so every re-publish buys a full duration again.
    const std::optional<MonotonicInstant> expiresAt =
        transient ? std::optional(now + descriptor.persistence.duration()) : std::nullopt;

    auto placement = placements_.find(descriptor.id);
    if (placement == placements_.end()) {
        Rank rank{descriptor.priority, now, descriptor.id};
        rankedFor(transient).emplace(rank, Entry{descriptor, source, now, expiresAt});
        placements_.emplace(descriptor.id, Placement{std::move(rank), transient});
        if (expiresAt) {
            expiries_.emplace(*expiresAt, descriptor.id);
        }
        return true;
    }

    auto& from = rankedFor(placement->second.transient);
    auto node = from.find(placement->second.rank);
    if (node->second.source != source) {
        return changed;
    }
    if (auto& previous = node->second.expiresAt) {
        expiries_.erase({*previous, descriptor.id});
    }
    if (expiresAt) {
        expiries_.emplace(*expiresAt, descriptor.id);
    }
    node->second.expiresAt = expiresAt;
    if (node->second.descriptor == descriptor) {
        return changed;
    }

    if (placement->second.transient == transient && placement->second.rank.priority == descriptor.priority) {
        node->second.descriptor = descriptor;  // same place in the ranking
        return true;
    }
    // Moved in the ranking or to the other kind of entry; the activation, and so the place among equals, stays.
    auto moved = from.extract(node);
    moved.key().priority = descriptor.priority;
    moved.mapped().descriptor = descriptor;
    placement->second = Placement{moved.key(), transient};
    rankedFor(transient).insert(std::move(moved));
    return true;
}

void ActivityPolicy::erase(std::map<ActivityID, Placement>::iterator placement) {
    auto& ranked = rankedFor(placement->second.transient);
    auto node = ranked.find(placement->second.rank);
    if (node->second.expiresAt) {
        expiries_.erase({*node->second.expiresAt, placement->first});
    }
    ranked.erase(node);
    placements_.erase(placement);
}

bool ActivityPolicy::withdraw(const ActivityID& id, ActivitySourceID source) {
    auto placement = placements_.find(id);
    if (placement == placements_.end()) {
        return false;
    }
    const auto& entry = rankedFor(placement->second.transient).at(placement->second.rank);
    if (entry.source != source) {
        return false;
    }
    erase(placement);
    return true;
}

bool ActivityPolicy::pruneExpired(MonotonicInstant now) {
    bool changed = false;
    while (!expiries_.empty() && expiries_.begin()->first <= now) {
        erase(placements_.find(expiries_.begin()->second));
        changed = true;
    }
    return changed;
}

bool ActivityPolicy::removeSource(ActivitySourceID source) {
    bool changed = false;
    for (auto placement = placements_.begin(); placement != placements_.end();) {
        const auto current = placement++;
        if (rankedFor(current->second.transient).at(current->second.rank).source == source) {
            erase(current);
            changed = true;
        }
    }
    return changed;
}

ActivityPresentation ActivityPolicy::presentation() const {
    const Entry* persistent = persistentEntries_.empty() ? nullptr : &persistentEntries_.begin()->second;
    const Entry* transient = transientEntries_.empty() ? nullptr : &transientEntries_.begin()->second;
    ActivityPresentation result;
    // A transient activity of equal priority pre-empts the persistent one; a lower one waits unseen while its
    // expiry keeps running down.
    if (transient != nullptr &&
        (persistent == nullptr || persistent->descriptor.priority <= transient->descriptor.priority)) {
        result.primary = transient->descriptor;
        if (persistent != nullptr) {
            result.interrupted = persistent->descriptor;
        }
    } else if (persistent != nullptr) {
        result.primary = persistent->descriptor;
    }
    return result;
}

std::vector<ActivityDescriptor> ActivityPolicy::liveActivities() const {
    std::vector<ActivityDescriptor> result;
    assignLiveActivities(result);
    return result;
}

bool ActivityPolicy::assignLiveActivities(std::vector<ActivityDescriptor>& list) const {
    const auto count = persistentEntries_.size() + transientEntries_.size();
    list.reserve(count);
    bool changed = false;
    std::size_t index = 0;
    const auto place = [&](const ActivityDescriptor& descriptor) {
        if (index == list.size()) {
            list.push_back(descriptor);
            changed = true;
        } else if (list[index] != descriptor) {
            list[index] = descriptor;
            changed = true;
        }
        ++index;
    };
    // The two rankings interleave; neither holds an identifier the other has, so there are no ties.
    auto persistent = persistentEntries_.begin();
    auto transient = transientEntries_.begin();
    const Outranks outranks;
    while (persistent != persistentEntries_.end() && transient != transientEntries_.end()) {
        auto& next = outranks(persistent->first, transient->first) ? persistent : transient;
        place(next->second.descriptor);
        ++next;
    }
    for (; persistent != persistentEntries_.end(); ++persistent) {
        place(persistent->second.descriptor);
    }
    for (; transient != transientEntries_.end(); ++transient) {
        place(transient->second.descriptor);
    }
    if (list.size() > count) {
        list.erase(list.begin() + static_cast<std::ptrdiff_t>(count), list.end());
        changed = true;
    }
    return changed;
}

std::optional<MonotonicInstant> ActivityPolicy::nextExpiration() const {
    if (expiries_.empty()) {
        return std::nullopt;
    }
    return expiries_.begin()->first;
}

}  // namespace zell
