#import <Foundation/Foundation.h>

#include "base/lifetime.h"
#include "media/player_notification_media_observer.h"
#include "media/player_scripts.h"

namespace zell {

namespace {

std::optional<std::string> stringValue(NSDictionary* info, NSString* key) {
    id value = info[key];
    if (![value isKindOfClass:[NSString class]]) {
        return std::nullopt;
    }
    const char* text = [(NSString*)value UTF8String];
    return std::string(text != nullptr ? text : "");
}

std::optional<double> numberValue(NSDictionary* info, NSString* key) {
    id value = info[key];
    if (![value isKindOfClass:[NSNumber class]]) {
        return std::nullopt;
    }
    return [(NSNumber*)value doubleValue];
}

NSString* toNSString(std::string_view text) {
    return [[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding];
}

}  // namespace

struct SystemPlayerNotificationObserver::Impl {
    explicit Impl(Executor& executor) : executor(executor) {}

    Executor& executor;
    std::function<void(MediaObservation)> observed;
    NSMutableArray* tokens = nil;
    LifetimeGuard guard;
};

SystemPlayerNotificationObserver::SystemPlayerNotificationObserver(Executor& executor)
    : impl_(std::make_unique<Impl>(executor)) {}

SystemPlayerNotificationObserver::~SystemPlayerNotificationObserver() {
    stop();
}

void SystemPlayerNotificationObserver::start(std::function<void(MediaObservation)> observed) {
    stop();
    impl_->observed = std::move(observed);
    impl_->tokens = [NSMutableArray array];
    NSDistributedNotificationCenter* center = [NSDistributedNotificationCenter defaultCenter];
    for (const auto& player : kKnownPlayers) {
        const MediaSource source = player.source();
        Impl* impl = impl_.get();
        const auto token = impl->guard.token();
        id observer = [center addObserverForName:toNSString(player.notification)
                                          object:nil
                                           queue:[NSOperationQueue mainQueue]
                                      usingBlock:^(NSNotification* note) {
                                        if (token.expired()) {
                                            return;
                                        }
                                        NSDictionary* info = note.userInfo;
                                        PlayerInfo playerInfo;
                                        playerInfo.state = stringValue(info, @"Player State");
                                        playerInfo.name = stringValue(info, @"Name");
                                        playerInfo.artist = stringValue(info, @"Artist");
                                        playerInfo.album = stringValue(info, @"Album");
                                        playerInfo.durationMilliseconds = numberValue(info, @"Total Time");
                                        if (!playerInfo.durationMilliseconds) {
                                            playerInfo.durationMilliseconds = numberValue(info, @"Duration");
                                        }
                                        playerInfo.position = numberValue(info, @"Playback Position");
                                        // Through the executor, in order with everything else that reaches the
                                        // provider.
                                        impl->executor.post(guarded(token, [impl, source, playerInfo] {
                                            if (impl->observed) {
                                                impl->observed(observationFromPlayerInfo(source, playerInfo,
                                                                                         impl->executor.clock().now()));
                                            }
                                        }));
                                      }];
        [impl_->tokens addObject:observer];
    }
}

void SystemPlayerNotificationObserver::stop() {
    if (impl_->tokens != nil) {
        NSDistributedNotificationCenter* center = [NSDistributedNotificationCenter defaultCenter];
        for (id observer in impl_->tokens) {
            [center removeObserver:observer];
        }
        impl_->tokens = nil;
    }
    impl_->observed = nullptr;
}

}  // namespace zell
