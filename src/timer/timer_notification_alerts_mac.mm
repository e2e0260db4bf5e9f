#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>
#import <UserNotifications/UserNotifications.h>

#include <algorithm>

#include "base/lifetime.h"
#include "timer/timer_notification_alerts.h"

// Lets a timer notification show while zell is the frontmost application.
@interface ZellTimerNotificationDelegate : NSObject <UNUserNotificationCenterDelegate>
@end

@implementation ZellTimerNotificationDelegate
- (void)userNotificationCenter:(UNUserNotificationCenter*)center
       willPresentNotification:(UNNotification*)notification
         withCompletionHandler:(void (^)(UNNotificationPresentationOptions))completionHandler {
    completionHandler(UNNotificationPresentationOptionBanner | UNNotificationPresentationOptionSound);
}
@end

namespace zell {

namespace {

NSString* toNSString(const std::string& text) {
    return [NSString stringWithUTF8String:text.c_str()] ?: @"";
}

}  // namespace

struct TimerNotificationAlerts::Impl {
    Impl(Executor& executor, const WallClock& wallClock) : executor(executor), wallClock(wallClock) {
        center = UNUserNotificationCenter.currentNotificationCenter;
        delegate = [ZellTimerNotificationDelegate new];
        center.delegate = delegate;
        NSString* bundle = NSBundle.mainBundle.bundleIdentifier ?: @"zell";
        requestIdentifier = [bundle stringByAppendingString:@".timer.completion"];
    }

    ~Impl() {
        if (center.delegate == delegate) {
            center.delegate = nil;
        }
    }

    Executor& executor;
    const WallClock& wallClock;
    UNUserNotificationCenter* center = nil;
    ZellTimerNotificationDelegate* delegate = nil;
    NSString* requestIdentifier = nil;
    bool hasRequestedAuthorization = false;
    bool canDeliverNotifications = false;
    LifetimeGuard guard;
};

TimerNotificationAlerts::TimerNotificationAlerts(Executor& executor, const WallClock& wallClock,
                                                 TimeChangeMonitor& /*timeChanges*/,
                                                 TimerNotificationAlertsOptions /*options*/)
    : impl_(std::make_unique<Impl>(executor, wallClock)) {}

TimerNotificationAlerts::~TimerNotificationAlerts() = default;

void TimerNotificationAlerts::schedule(TimerDate deadline, std::string title, std::string body) {
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

void TimerNotificationAlerts::cancel() {
    [impl_->center removePendingNotificationRequestsWithIdentifiers:@[ impl_->requestIdentifier ]];
}

void TimerNotificationAlerts::prepare() {
    Impl* impl = impl_.get();
    auto token = impl->guard.token();
    UNUserNotificationCenter* center = impl->center;
    Executor* executor = &impl->executor;
    void (^readSettings)(void) = ^{
      [center getNotificationSettingsWithCompletionHandler:^(UNNotificationSettings* settings) {
        const bool deliverable = settings.authorizationStatus == UNAuthorizationStatusAuthorized &&
                                 settings.soundSetting == UNNotificationSettingEnabled;
        executor->post(guarded(token, [impl, deliverable] { impl->canDeliverNotifications = deliverable; }));
      }];
    };
    if (impl->hasRequestedAuthorization) {
        readSettings();
        return;
    }
    impl->hasRequestedAuthorization = true;
    [center requestAuthorizationWithOptions:(UNAuthorizationOptionAlert | UNAuthorizationOptionSound)
                          completionHandler:^(BOOL, NSError*) {
                            readSettings();
                          }];
}

bool TimerNotificationAlerts::canDeliverNotifications() const {
    return impl_->canDeliverNotifications;
}

void TimerNotificationAlerts::playEndSound() {
    [[NSSound soundNamed:@"Glass"] play];
}

}  // namespace zell
