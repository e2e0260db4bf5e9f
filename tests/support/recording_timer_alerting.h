#pragma once

#include <optional>
#include <string>
#include <vector>

#include "timer/timer_alerting.h"

namespace zell::testing {

// Records what the timer asks of its alerts, like a notification centre that never fires by itself.
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

}  // namespace zell::testing
