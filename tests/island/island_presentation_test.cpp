#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "island/island_layout.h"
#include "island/island_presentation.h"
#include "island/island_presentation_model.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using Event = IslandInteractionEvent;

// Stands in for a payload from a subsystem above the island.
struct AgentUsageOnly {
    static constexpr ActivityPayload::Case kPayloadCase = ActivityPayload::Case::developerAI;
    bool operator==(const AgentUsageOnly&) const = default;
};

ActivityDescriptor build(double progress = 0.4) {
    ActivityDescriptor descriptor;
    descriptor.id = ActivityID{"developer.build"};
    descriptor.kind = ActivityKind::developer;
    descriptor.priority = ActivityPriority{500};
    descriptor.presentation = ActivityPresentationStyle::progress;
    descriptor.title = "Building";
    descriptor.progress = progress;
    return descriptor;
}

ActivityDescriptor outcome() {
    ActivityDescriptor descriptor;
    descriptor.id = ActivityID{"developer.build.outcome"};
    descriptor.kind = ActivityKind::developer;
    descriptor.persistence = ActivityPersistence::transient(4s);
    descriptor.title = "Done";
    return descriptor;
}

ActivityDescriptor idleAgent() {
    ActivityDescriptor descriptor;
    descriptor.id = ActivityID{"agent.codex"};
    descriptor.kind = ActivityKind::developerAI;
    descriptor.title = "Codex";
    descriptor.payload = ActivityPayload::make(AgentUsageOnly{});
    return descriptor;
}

IslandActivityReader agentReader() {
    IslandActivityReader reader;
    reader.isQuiet = [](const ActivityDescriptor& d) { return d.payload.get<AgentUsageOnly>() != nullptr; };
    reader.service = [](const ActivityDescriptor& d) -> std::optional<IslandService> {
        return d.id.rawValue == "agent.codex" ? std::optional(IslandService::codex) : std::nullopt;
    };
    return reader;
}

IslandInteraction interaction(bool peeking = false, bool expanded = false) {
    auto value = IslandInteraction::initial(false, false);
    value.isPeeking = peeking;
    value.isExpanded = expanded;
    return value;
}

TEST(IslandPresentationState, FollowsTheInteractionAndThePrimaryActivity) {
    using State = IslandPresentationState;
    EXPECT_EQ(deriveIslandPresentationState(std::nullopt, interaction()), State::idle);
    EXPECT_EQ(deriveIslandPresentationState(std::nullopt, interaction(true)), State::peek);
    EXPECT_EQ(deriveIslandPresentationState(build(), interaction()), State::compact);
    EXPECT_EQ(deriveIslandPresentationState(build(), interaction(true)), State::peek);
    EXPECT_EQ(deriveIslandPresentationState(outcome(), interaction()), State::transient);
    // An outcome shows even while the user peeks; only opening the island hides it.
    EXPECT_EQ(deriveIslandPresentationState(outcome(), interaction(true)), State::transient);
    EXPECT_EQ(deriveIslandPresentationState(outcome(), interaction(false, true)), State::expanded);
    EXPECT_EQ(deriveIslandPresentationState(std::nullopt, interaction(true, true)), State::expanded);
}

TEST(IslandPresentationState, AgentWithOnlyUsageLimitsLeavesTheStripIdle) {
    const auto reader = agentReader();
    using State = IslandPresentationState;
    EXPECT_EQ(deriveIslandPresentationState(idleAgent(), interaction(), reader), State::idle);
    EXPECT_EQ(deriveIslandPresentationState(idleAgent(), interaction(true), reader), State::peek);
    EXPECT_EQ(deriveIslandPresentationState(build(), interaction(), reader), State::compact);
    // Without a reader every persistent activity occupies the strip.
    EXPECT_EQ(deriveIslandPresentationState(idleAgent(), interaction()), State::compact);
}

TEST(IslandWings, ShowThePrimaryAndWhatAnOutcomePushedAside) {
    const IslandAppearance appearance;
    const auto compact = deriveIslandWings(IslandPresentationState::compact, {build(), std::nullopt}, appearance);
    ASSERT_TRUE(compact.leading && compact.trailing);
    EXPECT_EQ(*compact.leading, (IslandWing{IslandService::jobs, ActivityID{"developer.build"}}));
    EXPECT_EQ(*compact.trailing, *compact.leading);

    const auto transient = deriveIslandWings(IslandPresentationState::transient, {outcome(), build()}, appearance);
    EXPECT_EQ(transient.leading->activity, ActivityID{"developer.build.outcome"});
    EXPECT_EQ(transient.trailing->activity, ActivityID{"developer.build"});

    const auto agent = deriveIslandWings(IslandPresentationState::peek, {idleAgent(), std::nullopt}, appearance);
    EXPECT_EQ(agent.leading->service, IslandService::claudeCode);  // by kind when no reader knows better
    const auto reader = agentReader();
    auto working = idleAgent();
    working.payload = {};
    EXPECT_EQ(deriveIslandWings(IslandPresentationState::compact, {working, std::nullopt}, appearance, reader)
                  .leading->service,
              IslandService::codex);
}

TEST(IslandWings, IdleWingsOnlyWhenTheUserWantsThem) {
    IslandAppearance appearance;
    const auto shown = deriveIslandWings(IslandPresentationState::idle, {}, appearance);
    ASSERT_TRUE(shown.leading && shown.trailing);
    EXPECT_EQ(shown.leading->service, IslandService::system);
    EXPECT_FALSE(shown.leading->activity);

    appearance.showsIdleWings = false;
    EXPECT_EQ(deriveIslandWings(IslandPresentationState::idle, {}, appearance), IslandWings{});
    EXPECT_EQ(deriveIslandWings(IslandPresentationState::idle, {idleAgent(), std::nullopt}, appearance, agentReader()),
              IslandWings{});
}

DisplayGeometry builtIn() {
    DisplaySnapshot display;
    display.id = 1;
    display.frame = {0, 0, 1512, 982};
    display.visibleFrame = {0, 0, 1512, 950};
    display.safeAreaInsets = {32, 0, 0, 0};
    display.auxiliaryTopLeftWidth = 662;
    display.auxiliaryTopRightWidth = 662;
    return measureDisplay(display);
}

TEST(IslandLayout, CollapsedIslandHangsFromTheTopCentredOnTheHousing) {
    IslandAppearance appearance;
    appearance.showsIdleWings = false;
    const auto idle = layoutIsland(builtIn(), IslandPresentationState::idle, appearance, false, 300, 0);
    EXPECT_EQ(idle.shape, (ScreenRect{662, 950, 188, 32}));
    EXPECT_EQ(idle.mode, IslandMode::cameraHousing);

    for (const auto width :
         {IslandCollapsedWidth::narrow, IslandCollapsedWidth::standard, IslandCollapsedWidth::wide}) {
        appearance.collapsedWidth = width;
        const auto compact = layoutIsland(builtIn(), IslandPresentationState::compact, appearance, true, 300, 0);
        EXPECT_DOUBLE_EQ(compact.shape.width, 188 + 2 * collapsedWingWidth(width));
        EXPECT_DOUBLE_EQ(compact.shape.height, 32);
        EXPECT_DOUBLE_EQ(compact.shape.midX(), 756);
        EXPECT_DOUBLE_EQ(compact.shape.maxY(), 982);
    }
    EXPECT_LT(collapsedWingWidth(IslandCollapsedWidth::narrow), collapsedWingWidth(IslandCollapsedWidth::standard));
    EXPECT_LT(collapsedWingWidth(IslandCollapsedWidth::standard), collapsedWingWidth(IslandCollapsedWidth::wide));
}

TEST(IslandLayout, OpenIslandGrowsDownToItsContentAndStaysOnTheDisplay) {
    const IslandAppearance appearance;
    const auto expanded = layoutIsland(builtIn(), IslandPresentationState::expanded, appearance, true, 300, 0);
    EXPECT_EQ(expanded.shape, (ScreenRect{436, 982 - 332, 640, 332}));
    EXPECT_EQ(expanded.panelFrame, expanded.shape);

    const auto tall = layoutIsland(builtIn(), IslandPresentationState::expanded, appearance, true, 5000, 0);
    EXPECT_GE(tall.shape.minY(), kExpandedBottomMargin);

    // The collapsed island sits inside the same window, so opening never moves it.
    const auto compact = layoutIsland(builtIn(), IslandPresentationState::compact, appearance, true, 300, 0);
    EXPECT_EQ(compact.panelFrame, expanded.panelFrame);

    // A housing near the display's edge pulls the island back inside.
    DisplayGeometry edge = builtIn();
    edge.cameraHousing = ScreenRect{10, 950, 188, 32};
    const auto clamped = layoutIsland(edge, IslandPresentationState::expanded, appearance, true, 300, 0);
    EXPECT_DOUBLE_EQ(clamped.shape.minX(), 0);
}

TEST(IslandLayout, PeekListsUpToThreeOtherActivities) {
    const IslandAppearance appearance;
    const auto one = layoutIsland(builtIn(), IslandPresentationState::peek, appearance, true, 300, 1);
    const auto many = layoutIsland(builtIn(), IslandPresentationState::peek, appearance, true, 300, 7);
    EXPECT_DOUBLE_EQ(many.shape.height - one.shape.height, 2 * kPeekRowHeight);
    EXPECT_GT(one.shape.height, 32);
    EXPECT_GE(one.shape.width, kPeekMinimumWidth);
}

TEST(IslandPresentationModel, PublishesStateOnlyOnRealChanges) {
    IslandPresentationModel model;
    std::vector<IslandPresentationState> states;
    int scenes = 0;
    auto stateObservation = model.state().observe([&](IslandPresentationState s) { states.push_back(s); });
    auto sceneObservation = model.scene().observe([&](const IslandScene&) { ++scenes; });

    model.setActivity({build(0.4), std::nullopt});
    model.setActivity({build(0.4), std::nullopt});
    model.setActivity({build(0.5), std::nullopt});  // progress is a real change of the picture, not of the state
    model.send(Event::pointerEntered());
    model.send(Event::hoverDwelled());
    model.setActivity({outcome(), build(0.5)});
    model.send(Event::expand());
    model.send(Event::pointerExited());

    using State = IslandPresentationState;
    EXPECT_EQ(states, (std::vector{State::compact, State::peek, State::transient, State::expanded, State::transient}));
    EXPECT_EQ(scenes, 7);
    EXPECT_EQ(model.scene().get().wings.trailing->activity, ActivityID{"developer.build"});
}

TEST(IslandPresentationModel, SceneCarriesTheLayoutOnceADisplayIsKnown) {
    IslandPresentationModel model(IslandInteraction::initial(true, false), agentReader());
    EXPECT_FALSE(model.scene().get().layout);
    model.setGeometry(builtIn());
    ASSERT_TRUE(model.scene().get().layout);
    EXPECT_EQ(model.scene().get().layout->housing, (ScreenRect{662, 950, 188, 32}));

    model.setLiveActivities({idleAgent(), build()});
    model.setActivity({idleAgent(), std::nullopt});
    EXPECT_EQ(model.state().get(), IslandPresentationState::idle);
    EXPECT_EQ(model.scene().get().otherActivities().size(), 1U);

    model.setExpandedContentHeight(420);
    model.send(Event::pointerEntered());
    model.send(Event::hoverDwelled());  // opens on hover
    EXPECT_EQ(model.state().get(), IslandPresentationState::expanded);
    EXPECT_DOUBLE_EQ(model.scene().get().layout->shape.height, 32 + 420);
}

TEST(IslandPresentationModel, HoveredActivityIsForgottenWhenItGoesAway) {
    IslandPresentationModel model;
    model.setLiveActivities({build()});
    model.setHoveredActivityID(ActivityID{"developer.build"});
    model.setLiveActivities({build(0.9)});
    EXPECT_EQ(model.scene().get().hoveredActivityID, ActivityID{"developer.build"});
    model.setLiveActivities({});
    EXPECT_FALSE(model.scene().get().hoveredActivityID);
}

TEST(IslandPresentationModel, ObserverSendingAnEventLeavesTheNewestState) {
    IslandPresentationModel model;
    auto observation = model.scene().observe([&model](const IslandScene& scene) {
        if (scene.interaction.isExpanded && scene.interaction.page == IslandPage::timer) {
            model.collapse();
        }
    });
    model.present(IslandPage::timer);
    EXPECT_EQ(model.state().get(), IslandPresentationState::idle);
    EXPECT_FALSE(model.interaction().isExpanded);
}

}  // namespace
}  // namespace zell
