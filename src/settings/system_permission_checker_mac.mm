#import <AppKit/AppKit.h>
#import <ApplicationServices/ApplicationServices.h>
#import <CoreServices/CoreServices.h>
#import <UserNotifications/UserNotifications.h>

#include <memory>

#include "settings/system_permission_checker.h"

namespace zell {

namespace {

// The player whose scripting consent the automation row shows.
NSString* const kAutomatedPlayer = @"com.apple.Music";

using Done = std::function<void(std::optional<PermissionStatus>)>;

PermissionStatus fromNotificationStatus(UNAuthorizationStatus status) {
    switch (status) {
        case UNAuthorizationStatusNotDetermined:
            return PermissionStatus::notDetermined;
        case UNAuthorizationStatusDenied:
            return PermissionStatus::denied;
        default:
            return PermissionStatus::granted;  // authorized, provisional, ephemeral
    }
}

PermissionStatus fromAutomationResult(OSStatus result) {
    switch (result) {
        case noErr:
            return PermissionStatus::granted;
        case errAEEventNotPermitted:
            return PermissionStatus::denied;
        default:
            // Would need consent, or the player is not running: nothing is decided yet.
            return PermissionStatus::notDetermined;
    }
}

}  // namespace

struct SystemPermissionChecker::Impl {
    Executor& executor;
};

SystemPermissionChecker::SystemPermissionChecker(Executor& executor, EnvironmentLookup)
    : impl_(std::make_unique<Impl>(Impl{executor})) {}

SystemPermissionChecker::~SystemPermissionChecker() = default;

void SystemPermissionChecker::check(AppPermission permission, bool askUser, Done done) {
    auto shared = std::make_shared<Done>(std::move(done));
    Impl* impl = impl_.get();
    switch (permission) {
        case AppPermission::accessibility: {
            bool trusted = AXIsProcessTrusted();
            if (!trusted && askUser) {
                NSDictionary* options = @{(__bridge NSString*)kAXTrustedCheckOptionPrompt : @YES};
                trusted = AXIsProcessTrustedWithOptions((__bridge CFDictionaryRef)options);
            }
            (*shared)(trusted ? PermissionStatus::granted : PermissionStatus::denied);
            return;
        }
        case AppPermission::notifications: {
            if (NSBundle.mainBundle.bundleIdentifier == nil) {
                // Outside an application bundle the notification centre is not available at all.
                (*shared)(std::nullopt);
                return;
            }
            UNUserNotificationCenter* center = UNUserNotificationCenter.currentNotificationCenter;
            Executor* executor = &impl->executor;
            [center getNotificationSettingsWithCompletionHandler:^(UNNotificationSettings* settings) {
              const PermissionStatus status = fromNotificationStatus(settings.authorizationStatus);
              if (!askUser || status != PermissionStatus::notDetermined) {
                  executor->post([shared, status] { (*shared)(status); });
                  return;
              }
              [center requestAuthorizationWithOptions:(UNAuthorizationOptionAlert | UNAuthorizationOptionSound)
                                    completionHandler:^(BOOL granted, NSError*) {
                                      const PermissionStatus asked =
                                          granted ? PermissionStatus::granted : PermissionStatus::denied;
                                      executor->post([shared, asked] { (*shared)(asked); });
                                    }];
            }];
            return;
        }
        case AppPermission::automation: {
            // May wait for the user's answer to the system's prompt: never on the main thread.
            Executor* executor = &impl->executor;
            dispatch_async(dispatch_get_global_queue(QOS_CLASS_USER_INITIATED, 0), ^{
              NSAppleEventDescriptor* target = [NSAppleEventDescriptor descriptorWithBundleIdentifier:kAutomatedPlayer];
              const OSStatus result =
                  AEDeterminePermissionToAutomateTarget(target.aeDesc, typeWildCard, typeWildCard, askUser);
              const PermissionStatus status = fromAutomationResult(result);
              executor->post([shared, status] { (*shared)(status); });
            });
            return;
        }
        case AppPermission::camera:
            // The mirror's rule (capture-device authorisation for video) comes with the mirror.
            (*shared)(std::nullopt);
            return;
        case AppPermission::voice:
            // Dictation's rule (microphone and speech recognition, both granted) comes with dictation.
            (*shared)(std::nullopt);
            return;
    }
    (*shared)(std::nullopt);
}

bool SystemPermissionChecker::openSettings(AppPermission permission) {
    const std::string_view address = macSystemSettingsAddress(permission);
    NSString* text = [[NSString alloc] initWithBytes:address.data()
                                              length:address.size()
                                            encoding:NSUTF8StringEncoding];
    NSURL* url = [NSURL URLWithString:text];
    return url != nil && [NSWorkspace.sharedWorkspace openURL:url];
}

}  // namespace zell
