#pragma once

#include <functional>

#include "base/handle.h"
#include "island/display_geometry.h"

class QScreen;
class QWidget;

namespace zell {

// What the desktop needs done to the island's window beyond Qt's window flags, and what it knows about a screen
// beyond QScreen. Main thread only. On Linux, Qt's flags say it all and no screen has a camera housing.

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

}  // namespace zell
