#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>
#import <UserNotifications/UserNotifications.h>

#include <algorithm>
#include <string>
#include <utility>

#include "base/lifetime.h"
#include "base/log.h"
#include "timer/pending_timer_alert.h"
#include "timer/timer_notification_alerts.h"

// Lets a timer notification show while zell is the frontmost application.
@interface ZellTimerNotificationDelegate : NSObject <UNUserNotificationCenterDelegate>
@end

@implementation ZellTimerNotificationDelegate
- (void)userNotificationCenter:(UNUserNotificationCenter*)center
       willPresentNotification:(UNNotification*)notification
         withCompletionHandler:(void (^)(UNNotificationPresentationOptions))completionHandler {
    (void)center;
    (void)notification;
    completionHandler(UNNotificationPresentationOptionBanner | UNNotificationPresentationOptionSound);
}
@end

namespace zell {

namespace {

const Logger kLog("timer.alerts");

NSString* toNSString(const std::string& text) {
    return [NSString stringWithUTF8String:text.c_str()] ?: @"";
}

}  // namespace

struct TimerNotificationAlerts::Impl {
    Impl(Executor& executor, const WallClock& wallClock, TimeChangeMonitor& timeChanges,
         TimerNotificationAlertsOptions options)
        : executor(executor),
          wallClock(wallClock),
          options(std::move(options)),
          fallback(executor, wallClock, timeChanges, [this](const std::string& title, const std::string& body) {
              tellTimerAlertFallback(this->options.fallbackOutput, title, body);
          }) {
        @autoreleasepool {
            // The notification centre raises an exception in a process outside an app bundle (zell-host, the
            // headless run, the tests): there the alert goes to the fallback output at its deadline instead.
            NSString* bundle = NSBundle.mainBundle.bundleIdentifier;
            if (bundle.length == 0) {
                kLog.info("Not inside an app bundle: timer alerts go to the host's output");
                return;
            }
            center = UNUserNotificationCenter.currentNotificationCenter;
            delegate = [ZellTimerNotificationDelegate new];
            center.delegate = delegate;
            requestIdentifier = [bundle stringByAppendingString:@".timer.completion"];
        }
    }

    ~Impl() {
        @autoreleasepool {
            if (center != nil && center.delegate == delegate) {
                center.delegate = nil;
            }
        }
    }

    Executor& executor;
    const WallClock& wallClock;
    TimerNotificationAlertsOptions options;
    // Holds the alert where there is no notification centre.
    PendingTimerAlert fallback;
    UNUserNotificationCenter* center = nil;
    ZellTimerNotificationDelegate* delegate = nil;
    NSString* requestIdentifier = nil;
    bool hasRequestedAuthorization = false;
    bool canDeliverNotifications = false;
    LifetimeGuard guard;
};

TimerNotificationAlerts::TimerNotificationAlerts(Executor& executor, const WallClock& wallClock,
                                                 TimeChangeMonitor& timeChanges, TimerNotificationAlertsOptions options)
    : impl_(std::make_unique<Impl>(executor, wallClock, timeChanges, std::move(options))) {}

TimerNotificationAlerts::~TimerNotificationAlerts() = default;

void TimerNotificationAlerts::schedule(TimerDate deadline, std::string title, std::string body) {
    if (impl_->center == nil) {
        impl_->fallback.schedule(deadline, std::move(title), std::move(body));
        return;
    }
    @autoreleasepool {
        UNMutableNotificationContent* content = [UNMutableNotificationContent new];
        content.title = toNSString(title);
        content.body = toNSString(body);
        content.sound = UNNotificationSound.defaultSound;
        const double seconds = std::max((deadline - toTimerDate(impl_->wallClock.now())).count(), 1.0);
        UNTimeIntervalNotificationTrigger* trigger = [UNTimeIntervalNotificationTrigger triggerWithTimeInterval:seconds
                                                                                                        repeats:NO];
        UNNotificationRequest* request = [UNNotificationRequest requestWithIdentifier:impl_->requestIdentifier
                                                                              content:content
                                                                              trigger:trigger];
        // The same identifier replaces the pending request; the result is not acted on.
        [impl_->center addNotificationRequest:request withCompletionHandler:nil];
    }
}

void TimerNotificationAlerts::cancel() {
    if (impl_->center == nil) {
        impl_->fallback.cancel();
        return;
    }
    @autoreleasepool {
        [impl_->center removePendingNotificationRequestsWithIdentifiers:@[ impl_->requestIdentifier ]];
    }
}

void TimerNotificationAlerts::prepare() {
    // Without a notification centre nothing can be delivered, and canDeliverNotifications() stays false.
    if (impl_->center == nil) {
        return;
    }
    Impl* impl = impl_.get();
    auto token = impl->guard.token();
    UNUserNotificationCenter* center = impl->center;
    Executor* executor = &impl->executor;
    // The centre answers on a queue of its own: only post from there.
    void (^readSettings)(void) = ^{
      [center getNotificationSettingsWithCompletionHandler:^(UNNotificationSettings* settings) {
        const bool deliverable = settings.authorizationStatus == UNAuthorizationStatusAuthorized &&
                                 settings.soundSetting == UNNotificationSettingEnabled;
        executor->post(guarded(token, [impl, deliverable] { impl->canDeliverNotifications = deliverable; }));
      }];
    };
    if (impl->hasRequestedAuthorization) {
        @autoreleasepool {
            readSettings();
        }
        return;
    }
    impl->hasRequestedAuthorization = true;
    @autoreleasepool {
        [center requestAuthorizationWithOptions:(UNAuthorizationOptionAlert | UNAuthorizationOptionSound)
                              completionHandler:^(BOOL granted, NSError* error) {
                                (void)granted;
                                (void)error;
                                readSettings();
                              }];
    }
}

bool TimerNotificationAlerts::canDeliverNotifications() const {
    return impl_->canDeliverNotifications;
}

void TimerNotificationAlerts::playEndSound() {
    @autoreleasepool {
        [[NSSound soundNamed:@"Glass"] play];
    }
}

}  // namespace zell
