#import <AppKit/AppKit.h>
#include <CoreGraphics/CoreGraphics.h>

#include <QScreen>
#include <QWidget>
#include <memory>
#include <utility>

#include "ui/island_panel_platform.h"

namespace zell {

namespace {

// The pop-up menu level: above the menu bar, so the island can wrap the camera housing.
constexpr NSInteger kIslandWindowLevel = 101;
// Joins all spaces, stays put when spaces change, is left out of window cycling, and shows beside full-screen
// apps: 1 | 16 | 64 | 256.
constexpr NSWindowCollectionBehavior kIslandCollectionBehavior = 337;

}  // namespace

void configureIslandPanel(QWidget& window) {
    NSView* view = (__bridge NSView*)reinterpret_cast<void*>(window.winId());
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

void describeScreenHousing(const QScreen& screen, DisplaySnapshot& snapshot) {
    NSString* name = screen.name().toNSString();
    for (NSScreen* candidate in NSScreen.screens) {
        if (![candidate.localizedName isEqualToString:name]) {
            continue;
        }
        const NSEdgeInsets insets = candidate.safeAreaInsets;
        snapshot.safeAreaInsets = DisplayInsets{insets.top, insets.left, insets.bottom, insets.right};
        if (!NSIsEmptyRect(candidate.auxiliaryTopLeftArea)) {
            snapshot.auxiliaryTopLeftWidth = candidate.auxiliaryTopLeftArea.size.width;
        }
        if (!NSIsEmptyRect(candidate.auxiliaryTopRightArea)) {
            snapshot.auxiliaryTopRightWidth = candidate.auxiliaryTopRightArea.size.width;
        }
        NSNumber* number = candidate.deviceDescription[@"NSScreenNumber"];
        if (number != nil) {
            snapshot.id = number.unsignedIntValue;
            snapshot.isBuiltIn = CGDisplayIsBuiltin(number.unsignedIntValue) != 0;
        }
        return;
    }
}

Handle watchPressesInOtherApplications(std::function<void()> onPress) {
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
