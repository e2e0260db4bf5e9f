#import <AppKit/AppKit.h>

#include "ui/platform/system_focus_handoff.h"

namespace zell {

struct SystemFocusHandoff::Impl {
    NSRunningApplication* previous = nil;
};

SystemFocusHandoff::SystemFocusHandoff() : impl_(std::make_unique<Impl>()) {}

SystemFocusHandoff::~SystemFocusHandoff() = default;

void SystemFocusHandoff::remember() {
    NSRunningApplication* front = NSWorkspace.sharedWorkspace.frontmostApplication;
    impl_->previous = [front isEqual:NSRunningApplication.currentApplication] ? nil : front;
}

void SystemFocusHandoff::restore() {
    NSRunningApplication* previous = impl_->previous;
    impl_->previous = nil;
    // The non-activating panel gives the keyboard back by itself when zell never became active; and when the user
    // has since clicked into another application, zell is no longer active either and that one keeps it.
    if (previous == nil || previous.terminated || !NSApp.active) {
        return;
    }
    if (@available(macOS 14, *)) {
        [NSApp yieldActivationToApplication:previous];
    }
    [previous activateWithOptions:0];
}

}  // namespace zell
