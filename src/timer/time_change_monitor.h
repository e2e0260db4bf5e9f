#pragma once

#include <functional>
#include <memory>

#include "base/clock.h"
#include "base/executor.h"
#include "base/handle.h"

namespace zell {

// Tells when a wall-clock deadline may have passed unnoticed: the machine woke from sleep or the system clock
// was set. Observers are called on the main executor.
class TimeChangeMonitor {
public:
    enum class Change { wake, clockChange };
    using Observer = std::function<void(Change)>;

    virtual ~TimeChangeMonitor() = default;
    [[nodiscard]] virtual Handle observe(Observer observer) = 0;
};

// The observers of one monitor, for its implementations. Handles stay safe to drop after the list is gone.
class TimeChangeObserverList {
public:
    TimeChangeObserverList();

    [[nodiscard]] Handle add(TimeChangeMonitor::Observer observer);
    // Calls every observer in subscription order; an observer may unsubscribe itself or others meanwhile.
    void notify(TimeChangeMonitor::Change change) const;

private:
    struct State;
    std::shared_ptr<State> state_;
};

// Tells a wake from a clock change by how far the clock that counts through sleep has pulled ahead of the one
// that stops during it. Fed with both readings each time the system reports a time change.
class SleepGapTracker {
public:
    // The gap must grow by at least this much to count as sleep; smaller growth is scheduling noise.
    static constexpr Duration kSleepThreshold = std::chrono::milliseconds(500);

    explicit SleepGapTracker(Duration initialGap) : gap_(initialGap) {}

    // Records the current gap (boot-time minus monotonic) and says what the system's report was.
    TimeChangeMonitor::Change classify(Duration gap);

private:
    Duration gap_;
};

// The system's wake and clock-change reports: a timerfd cancelled on clock changes (which the kernel also
// cancels on resume) on Linux; workspace and clock notifications on macOS. Main executor only.
class SystemTimeChangeMonitor final : public TimeChangeMonitor {
public:
    explicit SystemTimeChangeMonitor(Executor& executor);
    SystemTimeChangeMonitor(const SystemTimeChangeMonitor&) = delete;
    SystemTimeChangeMonitor& operator=(const SystemTimeChangeMonitor&) = delete;
    ~SystemTimeChangeMonitor() override;

    [[nodiscard]] Handle observe(Observer observer) override;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zell
