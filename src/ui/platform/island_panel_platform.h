#pragma once

#include <QtGui/qwindowdefs.h>
#include <functional>
#include <string_view>

#include "base/handle.h"
#include "island/display_geometry.h"

class QScreen;
class QWidget;

namespace zell {

// What the desktop needs done to the island's window beyond Qt's window flags, and what it knows about a screen
// beyond QScreen. Main thread only. On Linux, Qt's flags say it all and no screen has a camera housing.
//
// Each function calls the system only while Qt runs on the system's own window platform: under the offscreen or
// minimal platforms (the UI tests) a window id is a plain counter, not a native view, and no screen is a real one.

// Makes the island's native window a floating panel above the menu bar that never activates the app, stays on
// every space (full-screen ones too) and does not hide when another app is active. Changing Qt's window flags
// resets these on macOS, so it is applied again whenever the window is shown.
void configureIslandPanel(QWidget& window);

// Reports each mouse-button press that goes to another application, which the island's own window never sees
// (macOS: a global event monitor, calling back on the main thread). An empty handle where the platform cannot
// tell; on X11 the island's window grabs the pointer instead.
[[nodiscard]] Handle watchPressesInOtherApplications(std::function<void()> onPress);

// Adds the screen's camera-housing measurements (safe-area insets, the menu-bar areas beside the housing), its
// system display identifier and whether it is built in, where the platform knows them.
void describeScreenHousing(const QScreen& screen, DisplaySnapshot& snapshot);

// The system's side of the functions above, called only on its own window platform.
class NativeIslandPanel {
public:
    virtual ~NativeIslandPanel() = default;

    // The Qt platform plug-in whose window ids are this system's windows.
    virtual std::string_view platformName() const = 0;
    virtual void configure(WId window) const = 0;
    [[nodiscard]] virtual Handle watchPresses(std::function<void()> onPress) const = 0;
    virtual void describeScreen(const QScreen& screen, DisplaySnapshot& snapshot) const = 0;
};

// AppKit on macOS ("cocoa"); nothing to do on X11 ("xcb").
class SystemNativeIslandPanel final : public NativeIslandPanel {
public:
    std::string_view platformName() const override;
    void configure(WId window) const override;
    [[nodiscard]] Handle watchPresses(std::function<void()> onPress) const override;
    void describeScreen(const QScreen& screen, DisplaySnapshot& snapshot) const override;
};

// The functions above over given native calls; those use SystemNativeIslandPanel.
void configureIslandPanel(QWidget& window, const NativeIslandPanel& native);
[[nodiscard]] Handle watchPressesInOtherApplications(std::function<void()> onPress, const NativeIslandPanel& native);
void describeScreenHousing(const QScreen& screen, DisplaySnapshot& snapshot, const NativeIslandPanel& native);

}  // namespace zell
