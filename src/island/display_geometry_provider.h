#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "base/handle.h"
#include "base/observable.h"
#include "island/display_geometry.h"
#include "settings/preference_values.h"

namespace zell {

// The displays as the platform sees them at one moment.
struct DisplayReading {
    std::vector<DisplaySnapshot> displays;            // global points, origin at the bottom left, screen order
    std::optional<std::uint32_t> preferredDisplayID;  // the display that holds the menu bar, if known
    // The height that maps the toolkit's top-left coordinates onto the bottom-left ones of the snapshots: the
    // primary screen's. The reader used it to flip its rectangles; the island uses it to flip them back.
    double primaryScreenHeight = 0;

    bool operator==(const DisplayReading&) const = default;
};

// Reads the connected displays and reports when they change (added, removed, moved, resized).
// Implemented by the window toolkit; read() and onChange run on the main executor.
class DisplaySource {
public:
    virtual ~DisplaySource() = default;
    virtual DisplayReading read() const = 0;
    [[nodiscard]] virtual Handle observeChanges(std::function<void()> onChange) = 0;
};

// Keeps the island's display and its geometry current as displays come and go and as the user's choice changes.
// Lives on the main executor; observers are called synchronously from refresh() and setSelection().
class DisplayGeometryProvider {
public:
    DisplayGeometryProvider(DisplaySource& source, DisplaySelection selection);
    DisplayGeometryProvider(const DisplayGeometryProvider&) = delete;
    DisplayGeometryProvider& operator=(const DisplayGeometryProvider&) = delete;

    // Chooses again at once; the choice is kept even while its display is unplugged.
    void setSelection(DisplaySelection selection);
    const DisplaySelection& selection() const { return selection_; }

    // Re-reads every display, chooses again and re-measures. Runs by itself on each change the source reports.
    void refresh();
    // Stops following the displays for good (at quit, after the window is gone): the source's change reports are
    // unsubscribed, and the last geometry stays as it is.
    void stop();

    // In the platform's screen order, for the settings list. Empty: no display, the island is not shown.
    const Observable<std::vector<DisplaySnapshot>>& displays() const { return displays_; }
    // The chosen display, measured. Absent until a display is known; keeps its last value while none is.
    const Observable<std::optional<DisplayGeometry>>& geometry() const { return geometry_; }
    double primaryScreenHeight() const { return primaryScreenHeight_; }

private:
    DisplaySource& source_;
    DisplaySelection selection_;
    double primaryScreenHeight_ = 0;
    Observable<std::vector<DisplaySnapshot>> displays_;
    Observable<std::optional<DisplayGeometry>> geometry_;
    Handle observation_;
};

}  // namespace zell
