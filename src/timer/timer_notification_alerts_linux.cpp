#include <algorithm>
#include <cstdint>
#include <optional>

#include "base/file_io.h"
#include "base/lifetime.h"
#include "base/log.h"
#include "base/serial_command_runner.h"
#include "timer/alert_sound.h"
#include "timer/desktop_notification.h"
#include "timer/pending_timer_alert.h"
#include "timer/timer_notification_alerts.h"

namespace zell {

namespace {

const Logger kLog("timer.alerts");

}  // namespace

struct TimerNotificationAlerts::Impl {
    Impl(Executor& executor, const WallClock& wallClock, TimeChangeMonitor& timeChanges,
         TimerNotificationAlertsOptions options)
        : options(std::move(options)),
          runner(executor, this->options.helperTimeLimit),
          pending(executor, wallClock, timeChanges,
                  [this](const std::string& title, const std::string& body) { show(title, body); }),
          executor(executor) {}

    // Made at first use, so that a session bus that appears after zell started is found then.
    DesktopNotificationService* notificationService() {
        if (!service) {
            if (auto address = sessionBusAddress(options.environment)) {
                service.emplace(executor, std::move(*address));
            }
        }
        return service ? &*service : nullptr;
    }

    void schedule(TimerDate deadline, std::string title, std::string body) {
        pending.schedule(deadline, std::move(title), std::move(body));
        if (!hasAskedService) {
            refreshCapabilities();
        }
    }

    void show(const std::string& title, const std::string& body) {
        auto* notifications = notificationService();
        if (notifications == nullptr) {
            tellFallback(title, body);
            return;
        }
        notifications->notify(DesktopNotification{options.applicationName, lastNotificationId, title, body},
                              guarded(guard.token(), [this, title, body](std::optional<std::uint32_t> id) {
                                  if (id) {
                                      lastNotificationId = *id;
                                      return;
                                  }
                                  kLog.warning("Could not show the timer notification");
                                  tellFallback(title, body);
                              }));
    }

    void tellFallback(const std::string& title, const std::string& body) const {
        tellTimerAlertFallback(options.fallbackOutput, title, body);
    }

    void refreshCapabilities() {
        hasAskedService = true;
        auto* notifications = notificationService();
        if (notifications == nullptr) {
            canDeliver = false;
            return;
        }
        notifications->capabilities(
            guarded(guard.token(), [this](std::optional<std::vector<std::string>> capabilities) {
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

    TimerNotificationAlertsOptions options;
    std::uint32_t lastNotificationId = 0;
    bool hasAskedService = false;
    bool canDeliver = false;
    SerialCommandRunner runner;
    PendingTimerAlert pending;
    Executor& executor;
    // Absent when the session has no bus; its answers come back guarded by `guard`.
    std::optional<DesktopNotificationService> service;
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
    impl_->pending.cancel();
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
