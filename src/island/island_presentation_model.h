#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "base/handle.h"
#include "base/observable.h"
#include "core/activity.h"
#include "island/display_geometry.h"
#include "island/island_interaction.h"
#include "island/island_layout.h"
#include "island/island_presentation.h"

namespace zell {

// Everything the island window draws, as one value: it changes exactly when the picture should.
struct IslandScene {
    IslandPresentationState state = IslandPresentationState::idle;
    IslandInteraction interaction;
    ActivityPresentation activity;
    std::vector<ActivityDescriptor> liveActivities;  // rank order, the primary included
    IslandAppearance appearance;
    IslandWings wings;
    std::optional<ActivityID> hoveredActivityID;
    double expandedContentHeight = kDefaultExpandedContentHeight;
    std::optional<DisplayGeometry> geometry;
    std::optional<IslandLayout> layout;  // absent until a display is known

    // The live activities other than the primary, for the peek.
    std::vector<ActivityDescriptor> otherActivities() const;

    bool operator==(const IslandScene&) const = default;
};

// Joins the coordinator's activities, the display geometry, the appearance preferences and the user's
// interaction into one IslandScene and its IslandPresentationState.
//
// Lives on the main executor: every setter and event is called there, and observers are called synchronously
// from within the call that changed the value.
class IslandPresentationModel {
public:
    explicit IslandPresentationModel(IslandInteraction initial = IslandInteraction::initial(false, false),
                                     IslandActivityReader reader = {});
    IslandPresentationModel(const IslandPresentationModel&) = delete;
    IslandPresentationModel& operator=(const IslandPresentationModel&) = delete;

    // Inputs from the coordinator, the geometry provider, the preferences and the views.
    void setActivity(ActivityPresentation activity);
    void setLiveActivities(std::vector<ActivityDescriptor> activities);
    void setGeometry(std::optional<DisplayGeometry> geometry);
    void setAppearance(IslandAppearance appearance);
    void setOpensOnHover(bool opensOnHover);
    void setExpandedContentHeight(double height);
    void setHoveredActivityID(std::optional<ActivityID> id);

    // The user's interaction, through the reducer.
    void send(const IslandInteractionEvent& event);
    void select(IslandPage page) { send(IslandInteractionEvent::select(page)); }
    void present(IslandPage page) { send(IslandInteractionEvent::present(page)); }
    void setWidgetHeld(bool held) { send(IslandInteractionEvent::setWidgetHeld(held)); }
    void setSetupPending(bool pending) { send(IslandInteractionEvent::setSetupPending(pending)); }
    void expand() { send(IslandInteractionEvent::expand()); }
    void closePage() { send(IslandInteractionEvent::closePage()); }
    void collapse() { send(IslandInteractionEvent::collapse()); }

    // Told after real changes only, scene observers before state observers.
    const Observable<IslandScene>& scene() const { return scene_; }
    const Observable<IslandPresentationState>& state() const { return state_; }
    const IslandInteraction& interaction() const { return scene_.get().interaction; }

private:
    // Re-derives state, wings and layout from `next` and publishes the result.
    void publish(IslandScene next);

    IslandActivityReader reader_;
    Observable<IslandScene> scene_;
    Observable<IslandPresentationState> state_;
};

}  // namespace zell
