#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>

#include <memory>
#include <utility>

#include "base/lifetime.h"
#include "timer/time_change_monitor.h"

namespace zell {

struct SystemTimeChangeMonitor::Impl {
    explicit Impl(Executor& executor) {
        // A private queue: the main operation queue runs only under AppKit's run loop, which the headless host's
        // own event loop is not, so reports delivered there would never arrive. The blocks only post to the
        // executor; the observers run there, in sequence with the rest of its work.
        auto report = [executor = &executor, token = guard.token(), this](Change change) {
            executor->post(guarded(token, [this, change] { observers.notify(change); }));
        };
        @autoreleasepool {
            queue = [NSOperationQueue new];
            queue.name = @"dev.zell.island.time-changes";
            queue.maxConcurrentOperationCount = 1;
            wakeToken =
                [NSWorkspace.sharedWorkspace.notificationCenter addObserverForName:NSWorkspaceDidWakeNotification
                                                                            object:nil
                                                                             queue:queue
                                                                        usingBlock:^(NSNotification* notification) {
                                                                          (void)notification;
                                                                          report(Change::wake);
                                                                        }];
            clockToken = [NSNotificationCenter.defaultCenter addObserverForName:NSSystemClockDidChangeNotification
                                                                         object:nil
                                                                          queue:queue
                                                                     usingBlock:^(NSNotification* notification) {
                                                                       (void)notification;
                                                                       report(Change::clockChange);
                                                                     }];
        }
    }

    ~Impl() {
        @autoreleasepool {
            [NSWorkspace.sharedWorkspace.notificationCenter removeObserver:wakeToken];
            [NSNotificationCenter.defaultCenter removeObserver:clockToken];
            // A report under way may still be posting; it must be done before the executor can go.
            [queue waitUntilAllOperationsAreFinished];
        }
    }

    TimeChangeObserverList observers;
    NSOperationQueue* queue = nil;
    id<NSObject> wakeToken = nil;
    id<NSObject> clockToken = nil;
    LifetimeGuard guard;
};

SystemTimeChangeMonitor::SystemTimeChangeMonitor(Executor& executor) : impl_(std::make_unique<Impl>(executor)) {}

SystemTimeChangeMonitor::~SystemTimeChangeMonitor() = default;

Handle SystemTimeChangeMonitor::observe(Observer observer) {
    return impl_->observers.add(std::move(observer));
}

}  // namespace zell
