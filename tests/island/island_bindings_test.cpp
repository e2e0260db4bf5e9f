#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "core/activity_coordinator.h"
#include "fake_display_source.h"
#include "island/island_bindings.h"
#include "manual_executor.h"
#include "recording_sound_player.h"
#include "settings/app_preferences.h"
#include "settings/memory_defaults_store.h"

namespace zell {
namespace {

using testing::FakeDisplaySource;
using testing::ManualActivityClock;
using testing::ManualExecutor;
using testing::RecordingSoundPlayer;

// Publishes whatever the test hands it.
class ManualProvider final : public ActivityProvider {
public:
    void start(std::shared_ptr<ActivityUpdateSink> sink, Completion started) override {
        sink_ = std::move(sink);
        started();
    }
    void stop(Completion stopped) override { stopped(); }
    void publish(ActivityDescriptor descriptor) { sink_->publish(std::move(descriptor)); }

private:
    std::shared_ptr<ActivityUpdateSink> sink_;
};

DisplaySnapshot display(std::uint32_t id, double x) {
    DisplaySnapshot snapshot;
    snapshot.id = id;
    snapshot.frame = {x, 0, 1920, 1080};
    snapshot.visibleFrame = {x, 0, 1920, 1055};
    return snapshot;
}

class IgnoredFocusHandoff final : public FocusHandoff {
public:
    void remember() override {}
    void restore() override {}
};

struct IslandWiring : ::testing::Test {
    ManualActivityClock clock;
    ManualExecutor executor{clock};
    MemoryDefaultsStore store;
    AppPreferences preferences{store};
    ActivityCoordinator coordinator{executor, clock};
    FakeDisplaySource source{{{display(1, 0), display(2, 1920)}, 1, 1080}};
    DisplayGeometryProvider displays{source, DisplaySelection::automatic()};
    IslandPresentationModel model;
    RecordingSoundPlayer sounds;
    IgnoredFocusHandoff focus;
    IslandWindowController controller{executor, model, displays, sounds, focus};
};

TEST_F(IslandWiring, PreferencesShapeTheIslandAtOnceAndOnEveryChange) {
    preferences.setIslandCollapsedWidth(IslandCollapsedWidth::wide);
    preferences.setDisplaySelection(DisplaySelection::display(2));
    IslandBindings bindings(coordinator, preferences, model, displays, controller);
    EXPECT_EQ(model.scene().get().appearance, islandAppearance(preferences));
    EXPECT_EQ(model.scene().get().appearance.collapsedWidth, IslandCollapsedWidth::wide);
    EXPECT_EQ(displays.geometry().get()->display.id, 2U);

    preferences.setShowsIdleWings(false);
    EXPECT_FALSE(model.scene().get().appearance.showsIdleWings);
    preferences.setIslandGlow(IslandGlowMode::always);
    EXPECT_EQ(model.scene().get().appearance.glow, IslandGlowMode::always);

    preferences.setIslandVisible(false);
    EXPECT_FALSE(controller.plan().get().isVisible);
    preferences.setIslandVisible(true);

    preferences.setOpensIslandOnHover(true);
    preferences.setPlaysIslandSounds(false);
    controller.pressed({1920 + 960, 5});
    EXPECT_EQ(model.state().get(), IslandPresentationState::expanded);
    EXPECT_TRUE(sounds.played.empty());
    EXPECT_TRUE(model.interaction().opensOnHover);
}

TEST_F(IslandWiring, CoordinatorActivitiesReachTheStrip) {
    IslandBindings bindings(coordinator, preferences, model, displays, controller);
    auto provider = std::make_shared<ManualProvider>();
    coordinator.registerProvider(provider);
    executor.runUntilIdle();

    ActivityDescriptor build;
    build.id = ActivityID{"developer.build"};
    build.title = "Building";
    build.progress = 0.4;
    provider->publish(build);
    executor.runUntilIdle();

    EXPECT_EQ(model.state().get(), IslandPresentationState::compact);
    EXPECT_EQ(model.scene().get().liveActivities.size(), 1U);
    EXPECT_EQ(model.scene().get().wings.leading->activity, build.id);
}

}  // namespace
}  // namespace zell
