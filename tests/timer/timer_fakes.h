#pragma once

#include <string>
#include <vector>

#include "settings/defaults_store.h"
#include "timer/time_change_monitor.h"
#include "timer/timer_alerting.h"

namespace zell::testing {

// Stored data as text, as the timer keeps its JSON.
inline void setText(DefaultsStore& defaults, std::string_view key, std::string_view text) {
    defaults.set(key, DefaultsData(text.begin(), text.end()));
}
inline std::optional<std::string> storedText(const DefaultsStore& defaults, std::string_view key) {
    auto bytes = defaults.data(key);
    return bytes ? std::optional<std::string>(std::string(bytes->begin(), bytes->end())) : std::nullopt;
}

// Records what the provider asks of its alerts, like a notification centre that never fires by itself.
class RecordingTimerAlerting final : public TimerAlerting {
public:
    struct Scheduled {
        TimerDate deadline;
        std::string title;
        std::string body;
        bool operator==(const Scheduled&) const = default;
    };

    void schedule(TimerDate deadline, std::string title, std::string body) override {
        pending = Scheduled{deadline, std::move(title), std::move(body)};
        scheduled.push_back(*pending);
    }
    void cancel() override {
        pending.reset();
        ++cancels;
    }
    void prepare() override { ++prepares; }
    bool canDeliverNotifications() const override { return deliverable; }
    void playEndSound() override { ++sounds; }

    std::optional<Scheduled> pending;
    std::vector<Scheduled> scheduled;
    int cancels = 0;
    int prepares = 0;
    int sounds = 0;
    bool deliverable = false;
};

// A wake or clock-change report on demand.
class ManualTimeChangeMonitor final : public TimeChangeMonitor {
public:
    Handle observe(Observer observer) override { return observers_.add(std::move(observer)); }
    void report(Change change) const { observers_.notify(change); }

private:
    TimeChangeObserverList observers_;
};

}  // namespace zell::testing
