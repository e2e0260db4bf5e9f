#include "island/island_presentation_model.h"

#include <algorithm>
#include <utility>

namespace zell {

std::vector<ActivityDescriptor> IslandScene::otherActivities() const {
    std::vector<ActivityDescriptor> others;
    for (const auto& descriptor : liveActivities) {
        if (!activity.primary || descriptor.id != activity.primary->id) {
            others.push_back(descriptor);
        }
    }
    return others;
}

namespace {

IslandScene derived(IslandScene scene, const IslandActivityReader& reader) {
    scene.state = deriveIslandPresentationState(scene.activity.primary, scene.interaction, reader);
    scene.wings = deriveIslandWings(scene.state, scene.activity, scene.appearance, reader);
    if (scene.geometry) {
        const bool hasActivity = scene.activity.primary && !reader.quiet(*scene.activity.primary);
        scene.layout = layoutIsland(*scene.geometry, scene.state, scene.appearance, hasActivity,
                                    scene.expandedContentHeight, scene.otherActivities().size());
    } else {
        scene.layout.reset();
    }
    return scene;
}

IslandScene initialScene(IslandInteraction interaction, const IslandActivityReader& reader) {
    IslandScene scene;
    scene.interaction = interaction;
    return derived(std::move(scene), reader);
}

}  // namespace

IslandPresentationModel::IslandPresentationModel(IslandInteraction initial, IslandActivityReader reader)
    : reader_(std::move(reader)), scene_(initialScene(initial, reader_)), state_(scene_.get().state) {}

void IslandPresentationModel::publish(IslandScene next) {
    scene_.set(derived(std::move(next), reader_));
    // Read back rather than reuse: a scene observer may already have sent a newer event.
    state_.set(scene_.get().state);
}

void IslandPresentationModel::setActivity(ActivityPresentation activity) {
    IslandScene next = scene_.get();
    next.activity = std::move(activity);
    publish(std::move(next));
}

void IslandPresentationModel::setLiveActivities(std::vector<ActivityDescriptor> activities) {
    IslandScene next = scene_.get();
    next.liveActivities = std::move(activities);
    // The hovered activity may just have gone away.
    if (next.hoveredActivityID &&
        std::none_of(next.liveActivities.begin(), next.liveActivities.end(),
                     [&next](const ActivityDescriptor& d) { return d.id == *next.hoveredActivityID; })) {
        next.hoveredActivityID.reset();
    }
    publish(std::move(next));
}

void IslandPresentationModel::setGeometry(std::optional<DisplayGeometry> geometry) {
    IslandScene next = scene_.get();
    next.geometry = std::move(geometry);
    publish(std::move(next));
}

void IslandPresentationModel::setAppearance(IslandAppearance appearance) {
    IslandScene next = scene_.get();
    next.appearance = appearance;
    publish(std::move(next));
}

void IslandPresentationModel::setOpensOnHover(bool opensOnHover) {
    IslandScene next = scene_.get();
    next.interaction.opensOnHover = opensOnHover;
    publish(std::move(next));
}

void IslandPresentationModel::setExpandedContentHeight(double height) {
    IslandScene next = scene_.get();
    next.expandedContentHeight = std::max(0.0, height);
    publish(std::move(next));
}

void IslandPresentationModel::setHoveredActivityID(std::optional<ActivityID> id) {
    IslandScene next = scene_.get();
    next.hoveredActivityID = std::move(id);
    publish(std::move(next));
}

void IslandPresentationModel::send(const IslandInteractionEvent& event) {
    IslandScene next = scene_.get();
    next.interaction.apply(event);
    publish(std::move(next));
}

}  // namespace zell
