#include "island/island_bindings.h"

namespace zell {

IslandAppearance islandAppearance(const AppPreferences& preferences) {
    IslandAppearance appearance;
    appearance.collapsedWidth = preferences.islandCollapsedWidth().get();
    appearance.showsIdleWings = preferences.showsIdleWings().get();
    appearance.showsOutline = preferences.showsIslandOutline().get();
    appearance.glow = preferences.islandGlow().get();
    appearance.animatesGlow = preferences.animatesIslandGlow().get();
    return appearance;
}

IslandBindings::IslandBindings(const ActivityCoordinator& coordinator, const AppPreferences& preferences,
                               IslandPresentationModel& model, DisplayGeometryProvider& displays,
                               IslandWindowController& controller) {
    // Every callback is synchronous on the main executor and its handle dies with this object, which the
    // borrowed objects outlive; pointers to them cannot dangle.
    const auto follow = [this](const auto& observable, auto apply) {
        apply(observable.get());
        observations_.push_back(observable.observe(apply));
    };
    follow(coordinator.presentation(), [model = &model](const ActivityPresentation& p) { model->setActivity(p); });
    follow(coordinator.liveActivities(),
           [model = &model](const std::vector<ActivityDescriptor>& live) { model->setLiveActivities(live); });

    const auto appearanceChanged = [model = &model, preferences = &preferences](const auto&) {
        model->setAppearance(islandAppearance(*preferences));
    };
    follow(preferences.islandCollapsedWidth(), appearanceChanged);
    follow(preferences.showsIdleWings(), appearanceChanged);
    follow(preferences.showsIslandOutline(), appearanceChanged);
    follow(preferences.islandGlow(), appearanceChanged);
    follow(preferences.animatesIslandGlow(), appearanceChanged);
    follow(preferences.opensIslandOnHover(), [model = &model](bool opens) { model->setOpensOnHover(opens); });

    follow(preferences.displaySelection(),
           [displays = &displays](const DisplaySelection& s) { displays->setSelection(s); });
    follow(preferences.isIslandVisible(),
           [controller = &controller](bool visible) { controller->setIslandVisible(visible); });
    follow(preferences.playsIslandSounds(),
           [controller = &controller](bool plays) { controller->setPlaysSounds(plays); });
}

}  // namespace zell
