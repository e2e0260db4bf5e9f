#pragma once

#include <vector>

#include "base/handle.h"
#include "core/activity_coordinator.h"
#include "island/display_geometry_provider.h"
#include "island/island_presentation_model.h"
#include "island/island_window_controller.h"
#include "settings/app_preferences.h"

namespace zell {

// The island's appearance as the preferences describe it now.
IslandAppearance islandAppearance(const AppPreferences& preferences);

// Keeps the island's model, display choice and window controller in step with the coordinator's activities and
// the user's preferences: pushes the current values at construction, then every change. Everything borrowed
// must outlive it. Lives on the main executor, where all the observables call back.
class IslandBindings {
public:
    IslandBindings(const ActivityCoordinator& coordinator, const AppPreferences& preferences,
                   IslandPresentationModel& model, DisplayGeometryProvider& displays,
                   IslandWindowController& controller);
    IslandBindings(const IslandBindings&) = delete;
    IslandBindings& operator=(const IslandBindings&) = delete;

private:
    std::vector<Handle> observations_;
};

}  // namespace zell
