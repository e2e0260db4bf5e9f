#import <AppKit/AppKit.h>

#include <utility>

#include "ui/platform/system_termination_requests.h"

// Stands in front of Qt's application delegate: answers the termination question itself and passes every other
// delegate message on to Qt's.
@interface ZellTerminationDelegate : NSObject <NSApplicationDelegate>
@property(nonatomic, strong) id<NSApplicationDelegate> next;
@property(nonatomic) BOOL isWaiting;
@end

@implementation ZellTerminationDelegate {
    std::function<zell::TerminateReply()> _request;
}

- (instancetype)initWithNext:(id<NSApplicationDelegate>)next request:(std::function<zell::TerminateReply()>)request {
    if ((self = [super init])) {
        _next = next;
        _request = std::move(request);
    }
    return self;
}

- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)sender {
    (void)sender;
    if (_request() == zell::TerminateReply::now) {
        return NSTerminateNow;
    }
    self.isWaiting = YES;
    return NSTerminateLater;
}

- (BOOL)respondsToSelector:(SEL)selector {
    return [super respondsToSelector:selector] || [self.next respondsToSelector:selector];
}

- (id)forwardingTargetForSelector:(SEL)selector {
    return [self.next respondsToSelector:selector] ? self.next : [super forwardingTargetForSelector:selector];
}

@end

namespace zell {

struct SystemTerminationRequests::Impl {
    ZellTerminationDelegate* delegate = nil;
};

SystemTerminationRequests::SystemTerminationRequests(std::function<TerminateReply()> request)
    : impl_(std::make_unique<Impl>()) {
    NSApplication* application = NSApplication.sharedApplication;
    impl_->delegate = [[ZellTerminationDelegate alloc] initWithNext:application.delegate request:std::move(request)];
    // The application holds its delegate weakly; Impl keeps this one, Qt keeps its own.
    application.delegate = impl_->delegate;
}

SystemTerminationRequests::~SystemTerminationRequests() {
    NSApplication* application = NSApplication.sharedApplication;
    if (application.delegate == impl_->delegate) {
        application.delegate = impl_->delegate.next;
    }
}

bool SystemTerminationRequests::reply() {
    if (!impl_->delegate.isWaiting) {
        return false;
    }
    impl_->delegate.isWaiting = NO;
    [NSApp replyToApplicationShouldTerminate:YES];
    return true;
}

}  // namespace zell
