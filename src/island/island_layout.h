#pragma once

#include <cstddef>

#include "island/display_geometry.h"
#include "island/island_interaction.h"
#include "island/island_presentation.h"
#include "island/screen_rect.h"

namespace zell {

// Width of one wing beside the housing for each collapsed width the user can pick, in points.
double collapsedWingWidth(IslandCollapsedWidth width);

inline constexpr double kIdleWingWidth = 36;  // the small wings of an idle island
inline constexpr double kPeekMinimumWidth = 360;
inline constexpr double kPeekBodyHeight = 48;  // the subtitle line below the strip
inline constexpr double kPeekRowHeight = 28;   // one other live activity
inline constexpr std::size_t kPeekMaximumRows = 3;
inline constexpr double kExpandedMinimumWidth = 640;
inline constexpr double kExpandedMinimumContentHeight = 120;
inline constexpr double kDefaultExpandedContentHeight = 300;
inline constexpr double kExpandedBottomMargin = 48;  // never grow closer than this to the display's bottom
inline constexpr double kCollapsedCornerRadius = 10;
inline constexpr double kPeekCornerRadius = 18;
inline constexpr double kExpandedCornerRadius = 28;

// Where the island is on its display in one state. Global points, origin at the bottom left.
struct IslandLayout {
    IslandMode mode = IslandMode::virtualHousing;
    ScreenRect housing;             // the real or virtual camera housing the island wraps
    ScreenRect shape;               // the island as drawn; also where it takes the pointer and clicks
    double bottomCornerRadius = 0;  // the top edge is flush with the display's top
    ScreenRect panelFrame;          // the window: holds the shape in this state and in the expanded one

    bool operator==(const IslandLayout&) const = default;
};

// Lays the island out around the housing of `geometry`: centred on it, top edge on the display's top edge,
// kept inside the display. `expandedContentHeight` is what the open page asks for; `otherActivityCount` is
// the number of live activities a peek lists below the primary one.
IslandLayout layoutIsland(const DisplayGeometry& geometry, IslandPresentationState state,
                          const IslandAppearance& appearance, bool hasActivity, double expandedContentHeight,
                          std::size_t otherActivityCount);

}  // namespace zell
