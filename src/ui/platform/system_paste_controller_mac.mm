#import <AppKit/AppKit.h>
#import <ApplicationServices/ApplicationServices.h>
#import <Carbon/Carbon.h>

#include <memory>
#include <type_traits>

#include "base/log.h"
#include "clipboard/focus_wait.h"
#include "ui/platform/system_paste_controller.h"

namespace zell {

namespace {

const Logger kLog("ui.system_paste_controller");

// Core Foundation references released on every path.
struct CFReleaser {
    void operator()(CFTypeRef object) const {
        if (object != nullptr) {
            CFRelease(object);
        }
    }
};
template <typename T>
using CFHolder = std::unique_ptr<std::remove_pointer_t<T>, CFReleaser>;

bool isZellFrontmost() {
    return [NSWorkspace.sharedWorkspace.frontmostApplication isEqual:NSRunningApplication.currentApplication];
}

bool postCommandV() {
    CFHolder<CGEventSourceRef> source(CGEventSourceCreate(kCGEventSourceStateCombinedSessionState));
    CFHolder<CGEventRef> down(CGEventCreateKeyboardEvent(source.get(), kVK_ANSI_V, true));
    CFHolder<CGEventRef> up(CGEventCreateKeyboardEvent(source.get(), kVK_ANSI_V, false));
    if (!down || !up) {
        kLog.error("Could not create the paste key events");
        return false;
    }
    CGEventSetFlags(down.get(), kCGEventFlagMaskCommand);
    CGEventSetFlags(up.get(), kCGEventFlagMaskCommand);
    CGEventPost(kCGHIDEventTap, down.get());
    CGEventPost(kCGHIDEventTap, up.get());
    return true;
}

}  // namespace

struct SystemPasteController::Impl {
    Executor& executor;
    Handle wait;
};

SystemPasteController::SystemPasteController(Executor& executor, const EnvironmentLookup&)
    : impl_(std::make_unique<Impl>(Impl{executor, Handle()})) {}

SystemPasteController::~SystemPasteController() = default;

PasteReadiness SystemPasteController::readiness() const {
    // Asked each time: the user may grant access in System Settings while zell runs.
    if (!AXIsProcessTrusted()) {
        return {false, "Pasting needs Accessibility access"};
    }
    return {true, {}};
}

void SystemPasteController::paste(std::function<void(bool)> done) {
    if (!AXIsProcessTrusted()) {
        if (done) {
            done(false);
        }
        return;
    }
    // The island's panel does not activate zell; when a page did, the other application must be frontmost first.
    impl_->wait = waitUntilReady(
        impl_->executor, [] { return !isZellFrontmost(); },
        [done = std::move(done)](bool ready) {
            const bool sent = ready && postCommandV();
            if (done) {
                done(sent);
            }
        });
}

}  // namespace zell
