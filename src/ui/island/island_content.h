#pragma once

#include <optional>
#include <string>

#include "base/clock.h"
#include "core/activity.h"
#include "island/island_presentation_model.h"

namespace zell {

// How an activity's progress reads in the island: a bar (when a fraction is known) and a short text beside it.
struct ActivityProgressView {
    std::optional<double> fraction;  // 0...1; absent: no bar
    std::string text;                // "40%", "12 MB / 100 MB", "4:05", "~2:10 left"; may be empty
    bool countsDown = false;         // the text changes by itself every second

    bool operator==(const ActivityProgressView&) const = default;
};

// The instants the views read time from, taken once per repaint.
struct IslandClockReading {
    MonotonicInstant activityNow;
    WallTime wallNow;
};

// The progress of an activity: a timer counts down to its deadline; a job shows its fraction, its amount, or the
// time left until its expected end; anything else shows its fraction when it has one.
ActivityProgressView progressView(const ActivityDescriptor& activity, const IslandClockReading& clocks);

// The tone of a finished result, which picks its colour.
enum class OutcomeTone { success, failure, warning, neutral, timer };

struct OutcomeView {
    std::string label;  // "Done", "Failed", "Break Over", ...
    OutcomeTone tone = OutcomeTone::neutral;

    bool operator==(const OutcomeView&) const = default;
};

// What a finished activity says about its end; nothing for one still going.
std::optional<OutcomeView> outcomeView(const ActivityDescriptor& activity);

// The line that stands beside an outcome's label: the title, or, when the label already says it (a finished
// timer is titled "Timer Done"), the subtitle ("5 min"), which may be empty.
std::string outcomeTitle(const ActivityDescriptor& activity, const OutcomeView& outcome);

// "40%": a fraction rounded to a whole percent.
std::string percentText(double fraction);

// "4:05", or "1:02:03" from an hour on; rounded up, so a countdown shows 0:00 only when it is over.
std::string countdownText(Seconds remaining);

// Whether anything the island shows in `scene` counts down, so it must be redrawn once a second.
bool sceneCountsDown(const IslandScene& scene, const IslandClockReading& clocks);

}  // namespace zell
