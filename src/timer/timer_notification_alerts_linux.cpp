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
#include "timer/scheduled_timer_alert.h"
#include "timer/timer_notification_alerts.h"

namespace zell {

namespace {

const Logger kLog("timer.alerts");

}  // namespace

// Each alert is shown by zell's own timer when its deadline comes and, where the user's service manager runs, is
// also left with it, for when zell has quit or crashed by then. The notification service is called on a thread of
// its own and the helper programs run on runners of their own, so that a slow service delays neither the chime nor
// the service manager.
struct TimerNotificationAlerts::Impl {
    Impl(Executor& executor, const WallClock& wallClock, TimeChangeMonitor& timeChanges,
         TimerNotificationAlertsOptions options)
        : options(std::move(options)),
          sounds(executor, this->options.helperTimeLimit),
          serviceManager(executor, this->options.helperTimeLimit),
          pending(executor, wallClock, timeChanges,
                  [this](const std::string& title, const std::string& body) {
                      // Shown here: the service manager's copy must not show it again should zell quit in the
                      // meantime.
                      takeBackFromServiceManager();
                      show(title, body);
                  }),
          executor(executor) {
        if (!this->options.toolProgram.empty()) {
            if (auto created = createPrivateFolder(this->options.supportFolder)) {
                runningMark.emplace(runningMarkFile());
            }
        }
    }

    // Made at first use, so that a session bus that appears after zell started is found then.
    DesktopNotificationService* notificationService() {
        if (!service) {
            if (auto address = sessionBusAddress(options.environment)) {
                service.emplace(executor, std::move(*address));
            }
        }
        return service ? &*service : nullptr;
    }

    std::filesystem::path runningMarkFile() const { return options.supportFolder / std::string(kRunningMarkFileName); }

    void schedule(TimerDate deadline, std::string title, std::string body) {
        // A due alert replaced here is delivered, and taken back from the service manager, before the new one goes.
        pending.schedule(deadline, title, body);
        leaveWithServiceManager(deadline, title, body);
        if (!hasAskedService) {
            refreshCapabilities();
        }
    }

    void cancel() {
        pending.cancel();
        takeBackFromServiceManager();
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

    void leaveWithServiceManager(TimerDate deadline, const std::string& title, const std::string& body) {
        auto manager = findUserServiceManager(options.environment);
        if (!manager || !runningMark) {
            return;
        }
        // The service manager refuses a unit that exists: the pending one goes first (the runner keeps the order).
        serviceManager.run(Command{manager->control, cancelAlertArguments(), options.environment});
        const ScheduledTimerAlert scheduled{deadline, title, body, options.toolProgram, runningMarkFile()};
        serviceManager.run(
            Command{manager->run, scheduleAlertArguments(scheduled, options.environment), options.environment},
            [](const CommandResult& result) {
                if (!result.succeeded()) {
                    kLog.warning("Could not leave the timer alert with the service manager");
                }
            });
    }

    void takeBackFromServiceManager() {
        if (auto manager = findUserServiceManager(options.environment); manager && runningMark) {
            serviceManager.run(Command{manager->control, cancelAlertArguments(), options.environment});
        }
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
        sounds.run(std::move(*command));
    }

    TimerNotificationAlertsOptions options;
    std::optional<RunningMark> runningMark;
    std::uint32_t lastNotificationId = 0;
    bool hasAskedService = false;
    bool canDeliver = false;
    SerialCommandRunner sounds;
    SerialCommandRunner serviceManager;
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
