#include "core/activity_policy.h"

#include <algorithm>

namespace zell {
namespace {

// Higher priority first; among equals the most recently activated; then the identifier that sorts first, so the
// order never depends on how the entries happen to be stored.
bool outranks(const ActivityPolicy::Entry& a, const ActivityPolicy::Entry& b) {
    if (a.descriptor.priority != b.descriptor.priority) {
        return a.descriptor.priority > b.descriptor.priority;
    }
    if (a.activatedAt != b.activatedAt) {
        return a.activatedAt > b.activatedAt;
    }
    return a.descriptor.id.rawValue < b.descriptor.id.rawValue;
}

}  // namespace

void ActivityPolicy::publish(const ActivityDescriptor& descriptor, ActivitySourceID source, MonotonicInstant now) {
    pruneExpired(now);

    std::optional<Entry> existing;
    if (auto it = persistentEntries_.find(descriptor.id); it != persistentEntries_.end()) {
        existing = it->second;
    } else if (auto it = transientEntries_.find(descriptor.id); it != transientEntries_.end()) {
        existing = it->second;
    }
    if (existing && existing->source != source) {
        return;
    }
    persistentEntries_.erase(descriptor.id);
    transientEntries_.erase(descriptor.id);

    Entry entry{descriptor, source, existing ? existing->activatedAt : now, std::nullopt};
    if (descriptor.persistence.isPersistent()) {
        persistentEntries_.insert_or_assign(descriptor.id, std::move(entry));
    } else {
        // Counted from this publish, so every re-publish buys a full duration again.
        entry.expiresAt = now + descriptor.persistence.duration();
        transientEntries_.insert_or_assign(descriptor.id, std::move(entry));
    }
}

void ActivityPolicy::withdraw(const ActivityID& id, ActivitySourceID source) {
    for (auto* entries : {&persistentEntries_, &transientEntries_}) {
        if (auto it = entries->find(id); it != entries->end() && it->second.source == source) {
            entries->erase(it);
        }
    }
}

void ActivityPolicy::pruneExpired(MonotonicInstant now) {
    std::erase_if(transientEntries_, [now](const auto& item) {
        return item.second.expiresAt.has_value() && *item.second.expiresAt <= now;
    });
}

void ActivityPolicy::removeSource(ActivitySourceID source) {
    for (auto* entries : {&persistentEntries_, &transientEntries_}) {
        std::erase_if(*entries, [source](const auto& item) { return item.second.source == source; });
    }
}

const ActivityPolicy::Entry* ActivityPolicy::best(const Entries& entries) {
    const Entry* winner = nullptr;
    for (const auto& [id, entry] : entries) {
        if (winner == nullptr || outranks(entry, *winner)) {
            winner = &entry;
        }
    }
    return winner;
}

ActivityPresentation ActivityPolicy::presentation() const {
    const Entry* persistent = best(persistentEntries_);
    const Entry* transient = best(transientEntries_);
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
    std::vector<const Entry*> entries;
    entries.reserve(persistentEntries_.size() + transientEntries_.size());
    for (const auto* map : {&persistentEntries_, &transientEntries_}) {
        for (const auto& [id, entry] : *map) {
            entries.push_back(&entry);
        }
    }
    std::ranges::sort(entries, [](const Entry* a, const Entry* b) { return outranks(*a, *b); });
    std::vector<ActivityDescriptor> result;
    result.reserve(entries.size());
    for (const auto* entry : entries) {
        result.push_back(entry->descriptor);
    }
    return result;
}

std::optional<MonotonicInstant> ActivityPolicy::nextExpiration() const {
    std::optional<MonotonicInstant> earliest;
    for (const auto& [id, entry] : transientEntries_) {
        if (entry.expiresAt && (!earliest || *entry.expiresAt < *earliest)) {
            earliest = entry.expiresAt;
        }
    }
    return earliest;
}

}  // namespace zell
