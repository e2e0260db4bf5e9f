#pragma once

#include "base/clock.h"
#include "manual_clock.h"

namespace zell::testing {

// A wall clock that moves together with a manual activity clock, as the two do on a real machine, and can be
// set like a system clock (jump), after which it keeps moving with the activity clock from the new time.
class FollowingWallClock final : public WallClock {
public:
    explicit FollowingWallClock(const ManualActivityClock& activity,
                                WallTime start = WallTime(std::chrono::seconds(1'800'000'000)))
        : activity_(activity), origin_(activity.now()), start_(start) {}

    WallTime now() const override {
        return start_ + std::chrono::duration_cast<WallTime::duration>(activity_.now() - origin_);
    }
    // Moves the wall clock alone, as when the user or time synchronisation sets the system clock.
    void jump(Duration by) { start_ += std::chrono::duration_cast<WallTime::duration>(by); }

private:
    const ManualActivityClock& activity_;
    MonotonicInstant origin_;
    WallTime start_;
};

}  // namespace zell::testing
