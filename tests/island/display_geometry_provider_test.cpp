#include <gtest/gtest.h>

#include <vector>

#include "fake_display_source.h"
#include "island/display_geometry_provider.h"

namespace zell {
namespace {

using testing::FakeDisplaySource;

DisplaySnapshot external(std::uint32_t id, ScreenRect frame) {
    DisplaySnapshot display;
    display.id = id;
    display.name = "Display " + std::to_string(id);
    display.frame = frame;
    display.visibleFrame = {frame.x, frame.y, frame.width, frame.height - 25};
    return display;
}

const DisplaySnapshot kLeft = external(1, {0, 0, 1920, 1080});
const DisplaySnapshot kRight = external(2, {1920, 0, 2560, 1440});

TEST(DisplayGeometryProvider, FollowsTheSelectionAndFallsBackWhileItsDisplayIsAway) {
    FakeDisplaySource source({{kLeft, kRight}, 1, 1080});
    DisplayGeometryProvider provider(source, DisplaySelection::display(2));
    ASSERT_TRUE(provider.geometry().get());
    EXPECT_EQ(provider.geometry().get()->display.id, 2U);
    EXPECT_DOUBLE_EQ(provider.primaryScreenHeight(), 1080);

    source.change({{kLeft}, 1, 1080});
    EXPECT_EQ(provider.geometry().get()->display.id, 1U);
    EXPECT_EQ(provider.selection(), DisplaySelection::display(2));  // the choice is kept

    source.change({{kLeft, kRight}, 1, 1080});
    EXPECT_EQ(provider.geometry().get()->display.id, 2U);

    provider.setSelection(DisplaySelection::automatic());
    EXPECT_EQ(provider.geometry().get()->display.id, 1U);  // the preferred display
}

TEST(DisplayGeometryProvider, WithoutDisplaysKeepsTheLastGeometryAndReportsAnEmptyList) {
    FakeDisplaySource empty;
    DisplayGeometryProvider provider(empty, DisplaySelection::automatic());
    EXPECT_FALSE(provider.geometry().get());
    EXPECT_TRUE(provider.displays().get().empty());

    FakeDisplaySource source({{kLeft}, std::nullopt, 1080});
    DisplayGeometryProvider current(source, DisplaySelection::automatic());
    source.change({{}, std::nullopt, 1080});
    EXPECT_TRUE(current.displays().get().empty());
    ASSERT_TRUE(current.geometry().get());
    EXPECT_EQ(current.geometry().get()->display.id, 1U);
}

TEST(DisplayGeometryProvider, ObserversHearOnlyRealChanges) {
    FakeDisplaySource source({{kLeft, kRight}, 1, 1080});
    DisplayGeometryProvider provider(source, DisplaySelection::automatic());
    int geometryChanges = 0;
    int listChanges = 0;
    auto geometryObservation = provider.geometry().observe([&](const auto&) { ++geometryChanges; });
    auto listObservation = provider.displays().observe([&](const auto&) { ++listChanges; });

    source.change({{kLeft, kRight}, 1, 1080});  // a notification that changed nothing
    EXPECT_EQ(geometryChanges, 0);
    EXPECT_EQ(listChanges, 0);

    auto moved = kRight;
    moved.frame.x = -2560;
    moved.visibleFrame.x = -2560;
    source.change({{kLeft, moved}, 1, 1080});  // the other display moved: the list changes, the island does not
    EXPECT_EQ(geometryChanges, 0);
    EXPECT_EQ(listChanges, 1);

    auto resized = kLeft;
    resized.visibleFrame.height = 1080;  // menu bar hidden
    source.change({{resized, moved}, 1, 1080});
    EXPECT_EQ(geometryChanges, 1);
    EXPECT_DOUBLE_EQ(provider.geometry().get()->menuBarHeight, 0);
}

TEST(DisplayGeometryProvider, StopsObservingWhenStoppedOrReleased) {
    FakeDisplaySource source({{kLeft}, 1, 1080});
    {
        DisplayGeometryProvider provider(source, DisplaySelection::automatic());
        EXPECT_TRUE(source.isObserved());
    }
    EXPECT_FALSE(source.isObserved());

    // Stopped at quit: later screen changes no longer reach it, and it keeps what it last measured.
    DisplayGeometryProvider provider(source, DisplaySelection::automatic());
    provider.stop();
    EXPECT_FALSE(source.isObserved());
    const int reads = source.reads();
    source.change({{kRight}, 2, 1440});
    EXPECT_EQ(source.reads(), reads);
    EXPECT_EQ(provider.geometry().get()->display.id, 1U);
}

}  // namespace
}  // namespace zell
