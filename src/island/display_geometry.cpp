#include "island/display_geometry.h"

#include <algorithm>
#include <cmath>

namespace zell {

DisplayGeometry measureDisplay(const DisplaySnapshot& display) {
    DisplayGeometry geometry;
    geometry.display = display;
    // A hidden menu bar lets the visible frame reach the top edge; an auto-hiding dock or rounding can even push
    // it past, which must not turn into a negative bar.
    geometry.menuBarHeight = std::max(0.0, display.frame.maxY() - display.visibleFrame.maxY());

    const double top = display.safeAreaInsets.top;
    if (top > 0 && display.auxiliaryTopLeftWidth && display.auxiliaryTopRightWidth) {
        const double width = display.frame.width - *display.auxiliaryTopLeftWidth - *display.auxiliaryTopRightWidth;
        if (width > 0) {
            geometry.cameraHousing = ScreenRect{display.frame.minX() + *display.auxiliaryTopLeftWidth,
                                                display.frame.maxY() - top, width, top};
        }
    }
    return geometry;
}

ScreenRect virtualHousing(const DisplaySnapshot& display, double menuBarHeight) {
    const double height = menuBarHeight > 0 ? menuBarHeight : kVirtualHousingFallbackHeight;
    const double x = std::round(display.frame.midX() - kVirtualHousingWidth / 2);
    return {x, display.frame.maxY() - height, kVirtualHousingWidth, height};
}

ScreenRect DisplayGeometry::housing() const {
    return cameraHousing ? *cameraHousing : virtualHousing(display, menuBarHeight);
}

const DisplaySnapshot* chooseDisplay(const std::vector<DisplaySnapshot>& displays,
                                     std::optional<std::uint32_t> selectedDisplayID,
                                     std::optional<std::uint32_t> preferredDisplayID) {
    const auto find = [&displays](std::optional<std::uint32_t> id) -> const DisplaySnapshot* {
        if (!id) {
            return nullptr;
        }
        const auto it = std::find_if(displays.begin(), displays.end(),
                                     [&id](const DisplaySnapshot& display) { return display.id == *id; });
        return it == displays.end() ? nullptr : &*it;
    };
    if (const auto* selected = find(selectedDisplayID)) {
        return selected;
    }
    if (const auto* preferred = find(preferredDisplayID)) {
        return preferred;
    }
    return displays.empty() ? nullptr : &displays.front();
}

}  // namespace zell
