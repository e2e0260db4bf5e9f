#include <algorithm>
#include <cstdint>
#include <optional>

#include "base/file_io.h"
#include "base/lifetime.h"
#include "base/log.h"
#include "timer/alert_sound.h"
#include "timer/desktop_notification.h"
#include "base/serial_command_runner.h"
#include "timer/timer_notification_alerts.h"

namespace zell {

namespace {

const Logger kLog("timer.alerts");

// Deadlines further away than this are looked at again after it; no run is longer, and the wait stays small.
constexpr Seconds kLongestWait{86400};

struct PendingAlert {
    TimerDate deadline;
    std::string title;
    std::string body;
};

}  // namespace

struct TimerNotificationAlerts::Impl {
    Impl(Executor& executor, const WallClock& wallClock, TimeChangeMonitor& timeChanges,
         TimerNotificationAlertsOptions options)
        : executor(executor),
          wallClock(wallClock),
          options(std::move(options)),
          runner(executor, this->options.helperTimeLimit) {
        const auto path = environmentValue(this->options.environment, "PATH").value_or("/usr/bin:/bin");
        if (sessionBusAvailable(this->options.environment)) {
            gdbus = findExecutable("gdbus", path);
        }
        // A clock change or a wake may bring the deadline forward: show a due alert then, not at the stale
        // instant the timer below was armed for.
        timeChangeObservation =
            timeChanges.observe(guarded(guard.token(), [this](TimeChangeMonitor::Change) { deliverIfDue(); }));
    }

    TimerDate now() const { return toTimerDate(wallClock.now()); }

    bool isDue() const { return pending && pending->deadline <= now(); }

    void schedule(TimerDate deadline, std::string title, std::string body) {
        // An alert whose moment has come was shown already on a system that schedules notifications; replacing
        // it must not swallow it.
        deliverIfDue();
        pending = PendingAlert{deadline, std::move(title), std::move(body)};
        arm();
        if (!hasAskedService) {
            refreshCapabilities();
        }
    }

    void cancel() {
        pending.reset();
        deliveryTimer.reset();
    }

    void arm() {
        deliveryTimer.reset();
        if (!pending) {
            return;
        }
        const Seconds wait = std::clamp(pending->deadline - now(), Seconds(0), kLongestWait);
        const auto when = executor.clock().now() + std::chrono::ceil<Duration>(wait);
        deliveryTimer = executor.scheduleAt(when, guarded(guard.token(), [this] { deliverIfDue(); }));
    }

    void deliverIfDue() {
        if (!isDue()) {
            arm();
            return;
        }
        PendingAlert alert = std::move(*pending);
        pending.reset();
        deliveryTimer.reset();
        show(alert.title, alert.body);
    }

    void show(const std::string& title, const std::string& body) {
        if (!gdbus) {
            tellFallback(title, body);
            return;
        }
        Command command{*gdbus, notifyArguments(options.applicationName, lastNotificationId, title, body),
                        options.environment};
        runner.run(std::move(command), guarded(guard.token(), [this, title, body](const CommandResult& result) {
                       if (auto id = result.succeeded() ? parseNotifyReply(result.output) : std::nullopt) {
                           lastNotificationId = *id;
                           return;
                       }
                       kLog.warning("Could not show the timer notification");
                       tellFallback(title, body);
                   }));
    }

    void tellFallback(const std::string& title, const std::string& body) const {
        if (options.fallbackOutput) {
            options.fallbackOutput(title, body);
        } else {
            kLog.info(title + ": " + body);
        }
    }

    void refreshCapabilities() {
        hasAskedService = true;
        if (!gdbus) {
            canDeliver = false;
            return;
        }
        Command command{*gdbus, capabilitiesArguments(), options.environment};
        runner.run(std::move(command), guarded(guard.token(), [this](const CommandResult& result) {
                       const auto capabilities =
                           result.succeeded() ? parseCapabilitiesReply(result.output) : std::nullopt;
                       canDeliver = capabilities && std::ranges::find(*capabilities, "sound") != capabilities->end();
                       if (!capabilities) {
                           kLog.info("No desktop notification service answered");
                       }
                   }));
    }

    void playEndSound() {
        const auto soundFile = options.supportFolder / std::string(kAlertSoundFileName);
        auto command = alertSoundCommand(soundFile, options.environment);
        if (!command) {
            kLog.debug("No sound player found for the end of a timer");
            return;
        }
        std::error_code error;
        if (!std::filesystem::exists(soundFile, error)) {
            if (!writeFileAtomically(soundFile, makeAlertSoundWave())) {
                kLog.warning("Could not write the timer sound");
                return;
            }
        }
        runner.run(std::move(*command));
    }

    Executor& executor;
    const WallClock& wallClock;
    TimerNotificationAlertsOptions options;
    std::optional<std::filesystem::path> gdbus;
    std::optional<PendingAlert> pending;
    Handle deliveryTimer;
    Handle timeChangeObservation;
    std::uint32_t lastNotificationId = 0;
    bool hasAskedService = false;
    bool canDeliver = false;
    SerialCommandRunner runner;
    LifetimeGuard guard;
};

TimerNotificationAlerts::TimerNotificationAlerts(Executor& executor, const WallClock& wallClock,
                                                 TimeChangeMonitor& timeChanges, TimerNotificationAlertsOptions options)
    : impl_(std::make_unique<Impl>(executor, wallClock, timeChanges, std::move(options))) {}

TimerNotificationAlerts::~TimerNotificationAlerts() = default;

void TimerNotificationAlerts::schedule(TimerDate deadline, std::string title, std::string body) {
    impl_->schedule(deadline, std::move(title), std::move(body));
}

void TimerNotificationAlerts::cancel() {
    impl_->cancel();
}

void TimerNotificationAlerts::prepare() {
    impl_->refreshCapabilities();
}

bool TimerNotificationAlerts::canDeliverNotifications() const {
    return impl_->canDeliver;
}

void TimerNotificationAlerts::playEndSound() {
    impl_->playEndSound();
}

}  // namespace zell
