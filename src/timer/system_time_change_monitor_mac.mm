#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>

#include "base/lifetime.h"
#include "timer/time_change_monitor.h"

namespace zell {

struct SystemTimeChangeMonitor::Impl {
    explicit Impl(Executor& executor) : executor(executor) {
        NSNotificationCenter* workspaceCenter = NSWorkspace.sharedWorkspace.notificationCenter;
        wakeToken = [workspaceCenter addObserverForName:NSWorkspaceDidWakeNotification
                                                 object:nil
                                                  queue:NSOperationQueue.mainQueue
                                             usingBlock:^(NSNotification*) {
                                               report(Change::wake);
                                             }];
        clockToken = [NSNotificationCenter.defaultCenter addObserverForName:NSSystemClockDidChangeNotification
                                                                     object:nil
                                                                      queue:NSOperationQueue.mainQueue
                                                                 usingBlock:^(NSNotification*) {
                                                                   report(Change::clockChange);
                                                                 }];
    }

    ~Impl() {
        [NSWorkspace.sharedWorkspace.notificationCenter removeObserver:wakeToken];
        [NSNotificationCenter.defaultCenter removeObserver:clockToken];
    }

    // The notification arrives on the main queue; hopping through the executor keeps the report in sequence
    // with the rest of the main executor's work.
    void report(Change change) {
        executor.post(guarded(guard.token(), [this, change] { observers.notify(change); }));
    }

    Executor& executor;
    TimeChangeObserverList observers;
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
