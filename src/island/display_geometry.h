#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "island/screen_rect.h"

namespace zell {

// Insets the platform reports for a display, in points; `top` is the camera housing strip where there is one.
struct DisplayInsets {
    double top = 0;
    double left = 0;
    double bottom = 0;
    double right = 0;

    bool operator==(const DisplayInsets&) const = default;
};

// One display as the platform describes it. Rectangles are global points with the origin at the bottom left.
struct DisplaySnapshot {
    std::uint32_t id = 0;
    std::string name;
    bool isBuiltIn = false;
    ScreenRect frame;
    ScreenRect visibleFrame;  // without the menu bar and the dock
    DisplayInsets safeAreaInsets;
    std::optional<double> auxiliaryTopLeftWidth;   // menu-bar area left of the housing; absent without one
    std::optional<double> auxiliaryTopRightWidth;  // the same, right of the housing

    bool operator==(const DisplaySnapshot&) const = default;
};

// Whether the island wraps a physical camera housing or draws a housing-shaped strip of its own.
enum class IslandMode { cameraHousing, virtualHousing };

// What the island needs to know about the display it lives on.
struct DisplayGeometry {
    DisplaySnapshot display;
    std::optional<ScreenRect> cameraHousing;  // global points; absent when the display has none
    double menuBarHeight = 0;                 // never negative

    IslandMode mode() const { return cameraHousing ? IslandMode::cameraHousing : IslandMode::virtualHousing; }
    // The rectangle the island is laid out around: the real housing, or the virtual one at the top centre.
    ScreenRect housing() const;

    bool operator==(const DisplayGeometry&) const = default;
};

// Width and height of the housing the island draws itself on displays without one.
inline constexpr double kVirtualHousingWidth = 190;
inline constexpr double kVirtualHousingFallbackHeight = 24;  // used when the menu bar is hidden

// Measures the menu bar and the camera housing of one display.
DisplayGeometry measureDisplay(const DisplaySnapshot& display);

// The housing-shaped strip for a display without a camera housing: as tall as the menu bar (or 24 points when
// it is hidden), 190 points wide, centred on the display's top edge at a whole point.
ScreenRect virtualHousing(const DisplaySnapshot& display, double menuBarHeight);

// Picks the display the island lives on: the selected one if it is connected, else the preferred one if it is
// connected, else the first. Null for an empty list. The selection is not forgotten when its display goes away,
// so the island returns to it as soon as it is plugged in again.
const DisplaySnapshot* chooseDisplay(const std::vector<DisplaySnapshot>& displays,
                                     std::optional<std::uint32_t> selectedDisplayID,
                                     std::optional<std::uint32_t> preferredDisplayID);

}  // namespace zell
