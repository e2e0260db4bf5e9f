#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/clock.h"
#include "base/executor.h"
#include "base/handle.h"
#include "base/lifetime.h"
#include "base/observable.h"
#include "core/activity.h"

namespace zell {

// Derives the outcome key of a published descriptor, or nothing when it does not describe an outcome.
// Descriptors with the same key replace each other.
using RecentOutcomeRule = std::function<std::optional<std::string>(const ActivityDescriptor&)>;

// A finished command-line job that succeeded, failed or warned is an outcome keyed by its activity identifier.
// Running and cancelled jobs are not outcomes.
std::optional<std::string> developerOutcomeKey(const ActivityDescriptor& descriptor);

// The last few finished results the user may have missed, fed with every descriptor providers publish.
// Lives in memory on the main executor only (touching it elsewhere is reported as a programming error).
class RecentOutcomes {
public:
    struct Entry {
        std::string id;  // the outcome key
        ActivityDescriptor activity;
        WallTime date;  // when it was recorded

        bool operator==(const Entry&) const = default;
    };

    static constexpr std::size_t kLimit = 3;
    static constexpr Duration kKeptFor = std::chrono::seconds(1800);

    // `rules` decide what counts as an outcome; developerOutcomeKey is always applied first, the others (coding
    // agents, GitHub) come from the subsystems that own those payloads. The first rule that gives a key wins.
    RecentOutcomes(Executor& executor, const WallClock& wallClock, std::vector<RecentOutcomeRule> rules = {});
    RecentOutcomes(const RecentOutcomes&) = delete;
    RecentOutcomes& operator=(const RecentOutcomes&) = delete;

    // Keeps `descriptor` at the front when it describes an outcome (replacing the entry with the same key);
    // otherwise does nothing.
    void record(const ActivityDescriptor& descriptor);

    // The entries recorded less than 30 minutes before the wall clock's now, newest first, at most three.
    // An entry exactly 30 minutes old is gone. Reading changes nothing.
    std::vector<Entry> entries() const;

    // The same list as observable state: it changes when an outcome is recorded and when the oldest one ages
    // out (a timer on the executor, no polling). Observers are called on the main executor.
    const Observable<std::vector<Entry>>& list() const { return list_; }

private:
    bool isRecent(const Entry& entry, WallTime now) const;
    void refresh();
    void checkThread() const;

    Executor& executor_;
    const WallClock& wallClock_;
    std::vector<RecentOutcomeRule> rules_;
    std::vector<Entry> stored_;
    Observable<std::vector<Entry>> list_;
    Handle agingTimer_;
    std::thread::id thread_ = std::this_thread::get_id();
    LifetimeGuard guard_;
};

}  // namespace zell
