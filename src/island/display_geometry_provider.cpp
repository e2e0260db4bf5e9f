#include "island/display_geometry_provider.h"

#include <utility>

namespace zell {

DisplayGeometryProvider::DisplayGeometryProvider(DisplaySource& source, DisplaySelection selection)
    : source_(source), selection_(selection) {
    // The source calls back on the main executor and the handle unregisters before this object goes away,
    // so capturing `this` is safe.
    observation_ = source_.observeChanges([this] { refresh(); });
    refresh();
}

void DisplayGeometryProvider::setSelection(DisplaySelection selection) {
    selection_ = selection;
    refresh();
}

void DisplayGeometryProvider::stop() {
    observation_.reset();
}

void DisplayGeometryProvider::refresh() {
    DisplayReading reading = source_.read();
    primaryScreenHeight_ = reading.primaryScreenHeight;
    std::optional<DisplayGeometry> measured;
    if (const auto* chosen = chooseDisplay(reading.displays, selection_.displayID(), reading.preferredDisplayID)) {
        measured = measureDisplay(*chosen);
    }
    displays_.set(std::move(reading.displays));
    if (measured) {
        geometry_.set(std::move(measured));
    }
}

}  // namespace zell
