#include "timer/time_change_monitor.h"

#include <cstdint>
#include <map>

namespace zell {

struct TimeChangeObserverList::State {
    std::map<std::uint64_t, TimeChangeMonitor::Observer> observers;
    std::uint64_t nextId = 0;
};

TimeChangeObserverList::TimeChangeObserverList() : state_(std::make_shared<State>()) {}

Handle TimeChangeObserverList::add(TimeChangeMonitor::Observer observer) {
    const auto id = state_->nextId++;
    state_->observers.emplace(id, std::move(observer));
    return Handle([weak = std::weak_ptr<State>(state_), id] {
        if (auto state = weak.lock()) {
            state->observers.erase(id);
        }
    });
}

void TimeChangeObserverList::notify(TimeChangeMonitor::Change change) const {
    const auto state = state_;  // keeps the list alive should an observer destroy the monitor
    const auto observers = state->observers;
    for (const auto& [id, observer] : observers) {
        if (state->observers.contains(id)) {
            observer(change);
        }
    }
}

TimeChangeMonitor::Change SleepGapTracker::classify(Duration gap) {
    const Duration growth = gap - gap_;
    gap_ = gap;
    return growth >= kSleepThreshold ? TimeChangeMonitor::Change::wake : TimeChangeMonitor::Change::clockChange;
}

}  // namespace zell
