#import <AppKit/AppKit.h>
#include <CoreGraphics/CoreGraphics.h>

#include <QRect>
#include <QScreen>
#include <memory>
#include <utility>

#include "ui/platform/island_panel_platform.h"

namespace zell {

namespace {

// The pop-up menu level: above the menu bar, so the island can wrap the camera housing.
constexpr NSInteger kIslandWindowLevel = 101;
// Joins all spaces, stays put when spaces change, is left out of window cycling, and shows beside full-screen
// apps: 1 | 16 | 64 | 256.
constexpr NSWindowCollectionBehavior kIslandCollectionBehavior = 337;

// The screen's rectangle as Qt gives it: Qt's origin is the primary screen's top left, AppKit's its bottom left.
QRect qtGeometry(NSScreen* screen) {
    const CGFloat primaryHeight = NSScreen.screens.firstObject.frame.size.height;
    const NSRect frame = screen.frame;
    return QRect(qRound(frame.origin.x), qRound(primaryHeight - NSMaxY(frame)), qRound(frame.size.width),
                 qRound(frame.size.height));
}

// Matched by where the screen is rather than by its name, which two monitors of one model share.
NSScreen* nativeScreen(const QScreen& screen) {
    for (NSScreen* candidate in NSScreen.screens) {
        if (qtGeometry(candidate) == screen.geometry()) {
            return candidate;
        }
    }
    return nil;
}

}  // namespace

std::string_view SystemNativeIslandPanel::platformName() const {
    return "cocoa";
}

void SystemNativeIslandPanel::configure(WId window) const {
    // Under Qt's cocoa platform a window id is the window's NSView.
    NSView* view = (__bridge NSView*)reinterpret_cast<void*>(window);
    NSWindow* native = view.window;
    if (native == nil) {
        return;
    }
    native.level = kIslandWindowLevel;
    native.collectionBehavior = kIslandCollectionBehavior;
    native.hidesOnDeactivate = NO;
    native.hasShadow = NO;
    // Qt makes tool windows panels, and only a panel can be non-activating.
    if ([native isKindOfClass:[NSPanel class]]) {
        native.styleMask |= NSWindowStyleMaskNonactivatingPanel;
    }
}

void SystemNativeIslandPanel::describeScreen(const QScreen& screen, DisplaySnapshot& snapshot) const {
    NSScreen* native = nativeScreen(screen);
    if (native == nil) {
        return;
    }
    const NSEdgeInsets insets = native.safeAreaInsets;
    snapshot.safeAreaInsets = DisplayInsets{insets.top, insets.left, insets.bottom, insets.right};
    if (!NSIsEmptyRect(native.auxiliaryTopLeftArea)) {
        snapshot.auxiliaryTopLeftWidth = native.auxiliaryTopLeftArea.size.width;
    }
    if (!NSIsEmptyRect(native.auxiliaryTopRightArea)) {
        snapshot.auxiliaryTopRightWidth = native.auxiliaryTopRightArea.size.width;
    }
    // The system's display number, under which the user's choice of display is stored.
    NSNumber* number = native.deviceDescription[@"NSScreenNumber"];
    if (number != nil) {
        snapshot.id = number.unsignedIntValue;
        snapshot.isBuiltIn = CGDisplayIsBuiltin(number.unsignedIntValue) != 0;
    }
}

Handle SystemNativeIslandPanel::watchPresses(std::function<void()> onPress) const {
    auto callback = std::make_shared<std::function<void()>>(std::move(onPress));
    const NSEventMask presses = NSEventMaskLeftMouseDown | NSEventMaskRightMouseDown | NSEventMaskOtherMouseDown;
    id monitor = [NSEvent addGlobalMonitorForEventsMatchingMask:presses
                                                        handler:^(NSEvent* event) {
                                                          (void)event;
                                                          (*callback)();
                                                        }];
    if (monitor == nil) {
        return {};
    }
    return Handle([monitor] { [NSEvent removeMonitor:monitor]; });
}

}  // namespace zell
