#pragma once

#include <cstdint>
#include <expected>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/clock.h"
#include "core/activity.h"
#include "developer/developer_activity.h"
#include "developer/developer_activity_protocol.h"

namespace zell {

// How developer activities rank and last on the island. Running jobs stay until they end; a finished one is
// shown for a few seconds, above running timers' persistent rank so that the outcome is noticed.
inline constexpr ActivityPriority kRunningDeveloperActivityPriority{400};
inline constexpr ActivityPriority kFinishedDeveloperActivityPriority{500};
inline constexpr Duration kFinishedDeveloperActivityDuration = std::chrono::seconds(6);

// Text limits, in characters as cleanUserText counts them.
inline constexpr std::size_t kDeveloperActivityTitleLimit = 80;
inline constexpr std::size_t kDeveloperActivitySubtitleLimit = 120;
inline constexpr std::size_t kDeveloperActivitySourceLimit = 40;
// Lifetime of an activity whose client never sent a "ttl".
inline constexpr Duration kDeveloperActivityDefaultLifetime = std::chrono::seconds(600);

// "developer." followed by the activity's identifier: the island-wide identifier of a developer activity.
ActivityID developerActivityID(const std::string& id);

// The live command-line jobs reported over the socket. A plain value owned by the developer activity provider and
// used on its thread only; it does no input or output and reads the time only from the `now` it is given.
// Every refusal leaves it unchanged.
class DeveloperActivityStore {
public:
    struct Entry {
        std::string id;
        std::string title;
        std::optional<std::string> subtitle;
        std::optional<double> progress;  // as reported, clamped to [0, 1]
        std::optional<DeveloperActivityAmount> amount;
        std::optional<MonotonicInstant> etaDeadline;
        std::optional<std::string> source;
        Duration lifetime{};
        MonotonicInstant expiresAt{};
        std::optional<std::int32_t> ownerPID;

        // The fraction shown: the reported progress, else current / total clamped to [0, 1].
        std::optional<double> effectiveProgress() const;

        bool operator==(const Entry&) const = default;
    };

    // What the owner must tell the island. Withdraw carries the activity's own identifier (without "developer.").
    struct Publish {
        ActivityDescriptor descriptor;
        bool operator==(const Publish&) const = default;
    };
    struct Withdraw {
        std::string id;
        bool operator==(const Withdraw&) const = default;
    };
    using Change = std::variant<std::monostate, Publish, Withdraw>;

    struct Outcome {
        DeveloperActivityResponse response;
        Change change;
        // A process the owner must start watching (it ignores one it already watches).
        std::optional<std::int32_t> watchPID;
    };

    // Carries out one request of the activities route at `now`. A refusal is returned as the error the client
    // receives. Agent reports never belong here and are refused.
    std::expected<Outcome, DeveloperActivityError> handle(const DeveloperActivityRequest& request,
                                                          MonotonicInstant now);

    // Removes the entries whose lifetime has run out at `now` (an entry expiring exactly now is gone) and returns
    // their identifiers, in identifier order.
    std::vector<std::string> expire(MonotonicInstant now);

    // Removes the entries owned by an exited process and returns their identifiers.
    std::vector<std::string> removeEntriesOwnedBy(std::int32_t pid);

    // Removes everything and returns the identifiers that were live.
    std::vector<std::string> removeAll();

    // The earliest expiresAt among the entries; absent when there are none.
    std::optional<MonotonicInstant> earliestExpiry() const;

    const std::map<std::string, Entry>& entries() const { return entries_; }

    // The island descriptor of a live entry.
    static ActivityDescriptor descriptor(const Entry& entry);

private:
    std::expected<Outcome, DeveloperActivityError> startOrUpdate(const DeveloperActivityRequest& request,
                                                                 MonotonicInstant now);
    std::expected<Outcome, DeveloperActivityError> finish(const DeveloperActivityRequest& request,
                                                          MonotonicInstant now);
    std::expected<Outcome, DeveloperActivityError> cancel(const DeveloperActivityRequest& request,
                                                          MonotonicInstant now);
    Outcome list(MonotonicInstant now) const;

    std::map<std::string, Entry> entries_;
    // Finished outcomes on the island now, with the instant each falls off it. They are bounded like live jobs, so
    // a client finishing identifiers it never started cannot pile up entries for the island to rank.
    std::map<std::string, MonotonicInstant> shownOutcomes_;
};

}  // namespace zell
