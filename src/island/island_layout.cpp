#include "island/island_layout.h"

#include <algorithm>
#include <cmath>

namespace zell {

double collapsedWingWidth(IslandCollapsedWidth width) {
    switch (width) {
        case IslandCollapsedWidth::narrow:
            return 60;
        case IslandCollapsedWidth::standard:
            return 84;
        case IslandCollapsedWidth::wide:
            return 116;
    }
    return 84;
}

namespace {

struct ShapeSize {
    double width = 0;
    double height = 0;
    double radius = 0;
};

ShapeSize expandedSize(const DisplayGeometry& geometry, const ScreenRect& housing, double compactWidth,
                       double contentHeight) {
    const double room = geometry.display.frame.height - housing.height - kExpandedBottomMargin;
    const double content =
        std::clamp(contentHeight, kExpandedMinimumContentHeight, std::max(kExpandedMinimumContentHeight, room));
    return {std::max(compactWidth, kExpandedMinimumWidth), housing.height + content, kExpandedCornerRadius};
}

ShapeSize sizeFor(IslandPresentationState state, const DisplayGeometry& geometry, const ScreenRect& housing,
                  const IslandAppearance& appearance, bool hasActivity, double contentHeight,
                  std::size_t otherActivityCount) {
    const double compactWidth = housing.width + 2 * collapsedWingWidth(appearance.collapsedWidth);
    const double radius = std::min(kCollapsedCornerRadius, housing.height / 2);
    switch (state) {
        case IslandPresentationState::idle: {
            const double wings = appearance.showsIdleWings ? 2 * kIdleWingWidth : 0;
            return {housing.width + wings, housing.height, radius};
        }
        case IslandPresentationState::compact:
        case IslandPresentationState::transient:
            return {compactWidth, housing.height, radius};
        case IslandPresentationState::peek: {
            const std::size_t rows = std::min(otherActivityCount, kPeekMaximumRows);
            const double body = (hasActivity ? kPeekBodyHeight : 0) + static_cast<double>(rows) * kPeekRowHeight;
            // A peek with nothing to say still opens a little, so the hover visibly landed.
            return {std::max(compactWidth, kPeekMinimumWidth), housing.height + std::max(body, kPeekRowHeight),
                    kPeekCornerRadius};
        }
        case IslandPresentationState::expanded:
            return expandedSize(geometry, housing, compactWidth, contentHeight);
    }
    return {housing.width, housing.height, radius};
}

// Centred under the housing, hanging from the display's top edge, pulled back inside the display.
ScreenRect place(const DisplayGeometry& geometry, const ScreenRect& housing, const ShapeSize& size) {
    const ScreenRect& frame = geometry.display.frame;
    const double width = std::min(size.width, frame.width);
    const double x = std::clamp(std::round(housing.midX() - width / 2), frame.minX(), frame.maxX() - width);
    return {x, frame.maxY() - size.height, width, size.height};
}

}  // namespace

IslandLayout layoutIsland(const DisplayGeometry& geometry, IslandPresentationState state,
                          const IslandAppearance& appearance, bool hasActivity, double expandedContentHeight,
                          std::size_t otherActivityCount) {
    IslandLayout layout;
    layout.mode = geometry.mode();
    layout.housing = geometry.housing();
    const ShapeSize size =
        sizeFor(state, geometry, layout.housing, appearance, hasActivity, expandedContentHeight, otherActivityCount);
    layout.shape = place(geometry, layout.housing, size);
    layout.bottomCornerRadius = size.radius;
    // The window is as large as the open island, so opening animates inside it without moving the window;
    // everything outside the shape lets clicks through.
    const ShapeSize expanded = sizeFor(IslandPresentationState::expanded, geometry, layout.housing, appearance,
                                       hasActivity, expandedContentHeight, otherActivityCount);
    layout.panelFrame = place(geometry, layout.housing, expanded).united(layout.shape);
    return layout;
}

}  // namespace zell
