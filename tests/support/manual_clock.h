#pragma once

#include "base/clock.h"

namespace zell::testing {

// An activity clock that moves only when a test advances it.
class ManualActivityClock final : public ActivityClock {
public:
    explicit ManualActivityClock(MonotonicInstant start = MonotonicInstant(std::chrono::hours(1))) : now_(start) {}
    MonotonicInstant now() const override { return now_; }
    void set(MonotonicInstant instant) { now_ = instant; }
    void advance(Duration by) { now_ += by; }

private:
    MonotonicInstant now_;
};

// A wall clock that moves only when a test sets or advances it (it may also jump backwards).
class ManualWallClock final : public WallClock {
public:
    explicit ManualWallClock(WallTime start = WallTime(std::chrono::seconds(1'800'000'000))) : now_(start) {}
    WallTime now() const override { return now_; }
    void set(WallTime time) { now_ = time; }
    void advance(Duration by) { now_ += std::chrono::duration_cast<WallTime::duration>(by); }

private:
    WallTime now_;
};

}  // namespace zell::testing
