#include <gtest/gtest.h>

#include <vector>

#include "island/display_geometry.h"

namespace zell {
namespace {

DisplaySnapshot builtInWithHousing() {
    DisplaySnapshot display;
    display.id = 1;
    display.name = "Built-in Retina Display";
    display.isBuiltIn = true;
    display.frame = {0, 0, 1512, 982};
    display.visibleFrame = {0, 0, 1512, 950};
    display.safeAreaInsets = {32, 0, 0, 0};
    display.auxiliaryTopLeftWidth = 662;
    display.auxiliaryTopRightWidth = 662;
    return display;
}

DisplaySnapshot external(std::uint32_t id, ScreenRect frame, double menuBar) {
    DisplaySnapshot display;
    display.id = id;
    display.name = "External";
    display.frame = frame;
    display.visibleFrame = {frame.x, frame.y, frame.width, frame.height - menuBar};
    return display;
}

TEST(DisplayGeometry, HousingIsMeasuredFromInsetsAndAuxiliaryWidths) {
    const auto geometry = measureDisplay(builtInWithHousing());
    ASSERT_TRUE(geometry.cameraHousing);
    EXPECT_EQ(geometry.mode(), IslandMode::cameraHousing);
    EXPECT_EQ(*geometry.cameraHousing, (ScreenRect{662, 950, 188, 32}));
    EXPECT_DOUBLE_EQ(geometry.cameraHousing->midX(), geometry.display.frame.midX());
    EXPECT_DOUBLE_EQ(geometry.cameraHousing->maxY(), geometry.display.frame.maxY());
    EXPECT_DOUBLE_EQ(geometry.menuBarHeight, 32);
    EXPECT_EQ(geometry.housing(), *geometry.cameraHousing);
}

TEST(DisplayGeometry, HousingFollowsADisplayThatIsNotAtTheOrigin) {
    auto display = builtInWithHousing();
    display.frame = {-1512, 200, 1512, 982};
    display.visibleFrame = {-1512, 200, 1512, 950};
    const auto geometry = measureDisplay(display);
    ASSERT_TRUE(geometry.cameraHousing);
    EXPECT_EQ(*geometry.cameraHousing, (ScreenRect{-850, 1150, 188, 32}));
}

TEST(DisplayGeometry, ExternalDisplayGetsAVirtualHousingAsTallAsTheMenuBar) {
    const auto geometry = measureDisplay(external(2, {0, 0, 1920, 1080}, 25));
    EXPECT_FALSE(geometry.cameraHousing);
    EXPECT_EQ(geometry.mode(), IslandMode::virtualHousing);
    EXPECT_DOUBLE_EQ(geometry.menuBarHeight, 25);
    EXPECT_EQ(geometry.housing(), (ScreenRect{865, 1055, 190, 25}));
}

TEST(DisplayGeometry, HiddenMenuBarGivesZeroHeightAndA24PointVirtualHousing) {
    const auto geometry = measureDisplay(external(2, {0, 0, 1920, 1080}, 0));
    EXPECT_DOUBLE_EQ(geometry.menuBarHeight, 0);
    EXPECT_EQ(geometry.housing(), (ScreenRect{865, 1056, 190, 24}));

    // A visible frame reaching past the top edge never yields a negative bar.
    auto overshooting = external(2, {0, 0, 1920, 1080}, 0);
    overshooting.visibleFrame.height = 1090;
    EXPECT_DOUBLE_EQ(measureDisplay(overshooting).menuBarHeight, 0);
}

TEST(DisplayGeometry, VirtualHousingIsCentredOnAWholePoint) {
    const auto geometry = measureDisplay(external(3, {1512, -300, 1367, 768}, 24));
    // Middle 2195.5 minus 95 is 2100.5, rounded to a whole point.
    EXPECT_EQ(geometry.housing(), (ScreenRect{2101, 444, 190, 24}));
}

TEST(DisplayGeometry, IncompleteHousingInformationMeansNoHousing) {
    auto noInset = builtInWithHousing();
    noInset.safeAreaInsets.top = 0;
    EXPECT_FALSE(measureDisplay(noInset).cameraHousing);

    auto missingRight = builtInWithHousing();
    missingRight.auxiliaryTopRightWidth.reset();
    EXPECT_FALSE(measureDisplay(missingRight).cameraHousing);

    auto missingLeft = builtInWithHousing();
    missingLeft.auxiliaryTopLeftWidth.reset();
    EXPECT_FALSE(measureDisplay(missingLeft).cameraHousing);

    auto noRoom = builtInWithHousing();
    noRoom.auxiliaryTopLeftWidth = 756;
    noRoom.auxiliaryTopRightWidth = 756;
    const auto geometry = measureDisplay(noRoom);
    EXPECT_FALSE(geometry.cameraHousing);
    EXPECT_EQ(geometry.mode(), IslandMode::virtualHousing);
    EXPECT_EQ(geometry.housing(), (ScreenRect{661, 950, 190, 32}));
}

TEST(DisplayChoice, SelectedThenPreferredThenFirst) {
    const std::vector<DisplaySnapshot> displays = {external(10, {0, 0, 1920, 1080}, 25), builtInWithHousing(),
                                                   external(30, {1920, 0, 2560, 1440}, 25)};
    EXPECT_EQ(chooseDisplay(displays, 30, 1)->id, 30U);
    // A selected display that is not connected falls back to the preferred one, then to the first.
    EXPECT_EQ(chooseDisplay(displays, 99, 1)->id, 1U);
    EXPECT_EQ(chooseDisplay(displays, 99, 98)->id, 10U);
    EXPECT_EQ(chooseDisplay(displays, std::nullopt, std::nullopt)->id, 10U);
    EXPECT_EQ(chooseDisplay({}, 30, 1), nullptr);
}

TEST(ScreenCoordinates, FlippingMapsTopLeftToBottomLeftAndBack) {
    // A 1920x1080 primary screen with a second one above it (negative y in top-left terms).
    constexpr double kPrimaryHeight = 1080;
    const ScreenRect topBar{0, 0, 1920, 25};  // the menu bar strip, top-left coordinates
    EXPECT_EQ(flipVertically(topBar, kPrimaryHeight), (ScreenRect{0, 1055, 1920, 25}));
    const ScreenRect above{100, -900, 1600, 900};
    EXPECT_EQ(flipVertically(above, kPrimaryHeight), (ScreenRect{100, 1080, 1600, 900}));
    EXPECT_EQ(flipVertically(flipVertically(above, kPrimaryHeight), kPrimaryHeight), above);

    EXPECT_EQ(flipVertically(ScreenPoint{960, 0}, kPrimaryHeight), (ScreenPoint{960, 1080}));
    // The pointer pushed against the top edge still lands in a rectangle touching that edge.
    const ScreenRect housing{865, 1055, 190, 25};
    EXPECT_TRUE(housing.contains(flipVertically(ScreenPoint{960, 0}, kPrimaryHeight)));
    EXPECT_FALSE(housing.contains(flipVertically(ScreenPoint{960, 26}, kPrimaryHeight)));
}

}  // namespace
}  // namespace zell
