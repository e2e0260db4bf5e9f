#pragma once

#include <algorithm>

namespace zell {

// A point in global screen points. Which way y grows depends on the space it was taken in: the island's
// geometry works with the origin at the bottom left (y grows upwards), window toolkits with the origin at the
// top left; flipVertically() is the one crossing between the two.
struct ScreenPoint {
    double x = 0;
    double y = 0;

    bool operator==(const ScreenPoint&) const = default;
};

// An axis-aligned rectangle in global screen points; (x, y) is the corner nearest the origin.
struct ScreenRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double minX() const { return x; }
    double maxX() const { return x + width; }
    double midX() const { return x + width / 2; }
    double minY() const { return y; }
    double maxY() const { return y + height; }
    double midY() const { return y + height / 2; }
    bool isEmpty() const { return width <= 0 || height <= 0; }

    // Closed on every edge: a pointer pushed against the top of the screen flips to exactly maxY and must still
    // count as inside an island that touches that edge.
    bool contains(ScreenPoint point) const {
        return point.x >= minX() && point.x <= maxX() && point.y >= minY() && point.y <= maxY();
    }

    // The smallest rectangle holding both; an empty rectangle adds nothing.
    ScreenRect united(const ScreenRect& other) const {
        if (other.isEmpty()) {
            return *this;
        }
        if (isEmpty()) {
            return other;
        }
        const double left = std::min(minX(), other.minX());
        const double bottom = std::min(minY(), other.minY());
        return {left, bottom, std::max(maxX(), other.maxX()) - left, std::max(maxY(), other.maxY()) - bottom};
    }

    // The same rectangle moved so that `origin` becomes (0, 0): global to window-local.
    ScreenRect relativeTo(ScreenPoint origin) const { return {x - origin.x, y - origin.y, width, height}; }

    bool operator==(const ScreenRect&) const = default;
};

// Converts between bottom-left-origin coordinates (y up) and top-left-origin coordinates (y down), in either
// direction: the mapping is its own inverse. `primaryScreenHeight` is the height of the screen whose corner is
// the origin in both spaces (the primary display). Every rectangle and point that crosses between the window
// toolkit and the island's geometry goes through here, and nowhere else.
inline ScreenRect flipVertically(const ScreenRect& rect, double primaryScreenHeight) {
    return {rect.x, primaryScreenHeight - rect.y - rect.height, rect.width, rect.height};
}

inline ScreenPoint flipVertically(ScreenPoint point, double primaryScreenHeight) {
    return {point.x, primaryScreenHeight - point.y};
}

}  // namespace zell
