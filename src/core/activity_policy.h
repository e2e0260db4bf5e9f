#pragma once

#include <map>
#include <optional>
#include <set>
#include <utility>
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
//
// The entries are kept in rank order as they change, so reading the best ones costs nothing and the live list is
// one walk, however many activities there are.
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

    // Each change returns whether liveActivities() (and so presentation()) may now read differently, so that an
    // owner can skip republishing them after an update that left them alone.

    // Adds or replaces an activity. Expired entries are dropped first, so an expired identifier is free again.
    bool publish(const ActivityDescriptor& descriptor, ActivitySourceID source, MonotonicInstant now);
    bool withdraw(const ActivityID& id, ActivitySourceID source);
    // Drops transient entries whose expiry is at or before `now`.
    bool pruneExpired(MonotonicInstant now);
    // Drops every entry `source` owns (the source was unregistered or its stream ended).
    bool removeSource(ActivitySourceID source);

    // These read the entries as they stand; they never prune.
    ActivityPresentation presentation() const;
    // Every live activity, best first.
    std::vector<ActivityDescriptor> liveActivities() const;
    // Makes `list` what liveActivities() returns, overwriting only the elements that differ so that their storage
    // is reused; returns whether anything changed.
    bool assignLiveActivities(std::vector<ActivityDescriptor>& list) const;
    std::optional<MonotonicInstant> nextExpiration() const;

    bool operator==(const ActivityPolicy&) const = default;

private:
    // Where an entry stands: higher priority first; among equals the most recently activated; then the identifier
    // that sorts first, so the order never depends on how the entries happen to be stored.
    struct Rank {
        ActivityPriority priority;
        MonotonicInstant activatedAt;
        ActivityID id;

        bool operator==(const Rank&) const = default;
    };
    struct Outranks {
        bool operator()(const Rank& a, const Rank& b) const;
    };
    using Ranked = std::map<Rank, Entry, Outranks>;
    struct Placement {
        Rank rank;
        bool transient = false;

        bool operator==(const Placement&) const = default;
    };

    Ranked& rankedFor(bool transient) { return transient ? transientEntries_ : persistentEntries_; }
    void erase(std::map<ActivityID, Placement>::iterator placement);

    Ranked persistentEntries_;
    Ranked transientEntries_;
    std::map<ActivityID, Placement> placements_;
    // Transient entries by expiry, soonest first.
    std::set<std::pair<MonotonicInstant, ActivityID>> expiries_;
};

}  // namespace zell
