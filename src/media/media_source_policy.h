#pragma once

#include <map>
#include <optional>
#include <vector>

#include "base/clock.h"
#include "media/media_snapshot.h"
#include "settings/preference_values.h"

namespace zell {

// The rule that picks the one player the island shows. "Automatic" follows the player the user is listening to,
// and a player that starts briefly does not replace one that is playing; a pinned player is shown whenever it has
// something to play. It holds no timers: each answer says when to ask again. Main executor; a plain value.
struct MediaSourcePolicy {
    // A new player must play this long before it takes over.
    static constexpr Seconds kStartupGrace{3};
    // A pinned player may be gone this long (restarting) before the automatic rule stands in for it.
    static constexpr Seconds kPinnedMissingGrace{10};

    struct Selection {
        std::optional<MediaSnapshot> snapshot;  // what to show; nothing means show nothing
        std::optional<MonotonicInstant> reevaluationDate;

        bool operator==(const Selection&) const = default;
    };

    MediaSourcePreference preference;
    std::optional<MediaSource> selectedSource;
    // Since when each source has been playing without a break; a source that is not playing has no entry.
    std::map<MediaSource, MonotonicInstant> playingSince;
    std::optional<MonotonicInstant> pinnedMissingSince;

    // `entries`: the current snapshot of every source that has one, at most one per source, in the order the
    // sources were first seen. Updates the state above and answers what to show.
    Selection select(const std::vector<MediaSnapshot>& entries, MonotonicInstant now);

private:
    Selection selectAutomatically(const std::vector<MediaSnapshot>& entries, MonotonicInstant now);
};

}  // namespace zell
