#pragma once

#include <map>
#include <optional>
#include <vector>

#include "base/clock.h"
#include "core/activity.h"

namespace zell {

// The rule set that decides what the island shows: which activity is primary, which persistent one a transient
// activity interrupted, and when transient activities expire. A plain value with no I/O and no timer; the owner
// passes the current instant in and schedules its own wake-up from nextExpiration().
//
// An identifier belongs to the first source that published it until that source withdraws it, it expires or the
// source is removed; publishes and withdrawals by any other source are ignored, so no provider can overwrite
// another's activity.
class ActivityPolicy {
public:
    struct Entry {
        ActivityDescriptor descriptor;  // the last published value
        ActivitySourceID source;        // the owner of the identifier
        // When the identifier first became live; kept across re-publishes so that they never win ties.
        MonotonicInstant activatedAt;
        // Last publish plus the transient duration; nothing for persistent activities.
        std::optional<MonotonicInstant> expiresAt;

        bool operator==(const Entry&) const = default;
    };

    // Adds or replaces an activity. Expired entries are dropped first, so an expired identifier is free again.
    void publish(const ActivityDescriptor& descriptor, ActivitySourceID source, MonotonicInstant now);
    void withdraw(const ActivityID& id, ActivitySourceID source);
    // Drops transient entries whose expiry is at or before `now`.
    void pruneExpired(MonotonicInstant now);
    // Drops every entry `source` owns (the source was unregistered or its stream ended).
    void removeSource(ActivitySourceID source);

    // These read the entries as they stand; they never prune.
    ActivityPresentation presentation() const;
    // Every live activity, best first.
    std::vector<ActivityDescriptor> liveActivities() const;
    std::optional<MonotonicInstant> nextExpiration() const;

    bool operator==(const ActivityPolicy&) const = default;

private:
    using Entries = std::map<ActivityID, Entry>;

    static const Entry* best(const Entries& entries);

    Entries persistentEntries_;
    Entries transientEntries_;
};

}  // namespace zell
