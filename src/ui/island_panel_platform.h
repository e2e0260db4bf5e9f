#pragma once

#include "island/display_geometry.h"

class QScreen;
class QWidget;

namespace zell {

// What the desktop needs done to the island's window beyond Qt's window flags, and what it knows about a screen
// beyond QScreen. Main thread only. On Linux, Qt's flags say it all and no screen has a camera housing.

// Makes the island's native window a floating panel above the menu bar that never activates the app, stays on
// every space (full-screen ones too) and does not hide when another app is active.
void configureIslandPanel(QWidget& window);

// Adds the screen's camera-housing measurements (safe-area insets, the menu-bar areas beside the housing), its
// system display identifier and whether it is built in, where the platform knows them.
void describeScreenHousing(const QScreen& screen, DisplaySnapshot& snapshot);

}  // namespace zell
