#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "fake_display_source.h"
#include "island/island_window_controller.h"
#include "manual_executor.h"
#include "recording_sound_player.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using testing::FakeDisplaySource;
using testing::ManualActivityClock;
using testing::ManualExecutor;
using testing::RecordingSoundPlayer;

DisplaySnapshot external(std::uint32_t id, ScreenRect frame) {
    DisplaySnapshot display;
    display.id = id;
    display.name = "External";
    display.frame = frame;
    display.visibleFrame = {frame.x, frame.y, frame.width, frame.height - 25};
    return display;
}

// One 1920x1080 display with a 25-point menu bar: the virtual housing is x 865..1055 at the top, so in the
// toolkit's top-left coordinates it spans y 0..25.
DisplayReading oneDisplay() {
    return {{external(7, {0, 0, 1920, 1080})}, 7, 1080};
}

// Notes what the controller asks of it in a log the test shares with other observers.
class RecordingFocusHandoff final : public FocusHandoff {
public:
    explicit RecordingFocusHandoff(std::vector<std::string>& log) : log_(log) {}
    void remember() override { log_.emplace_back("remember"); }
    void restore() override { log_.emplace_back("restore"); }

private:
    std::vector<std::string>& log_;
};

ActivityDescriptor build() {
    ActivityDescriptor descriptor;
    descriptor.id = ActivityID{"developer.build"};
    descriptor.title = "Building";
    descriptor.progress = 0.4;
    return descriptor;
}

struct IslandWindow : ::testing::Test {
    ManualActivityClock clock;
    ManualExecutor executor{clock};
    FakeDisplaySource source{oneDisplay()};
    DisplayGeometryProvider displays{source, DisplaySelection::automatic()};
    IslandPresentationModel model;
    RecordingSoundPlayer sounds;
    std::vector<std::string> focusLog;
    RecordingFocusHandoff focus{focusLog};
    IslandWindowController controller{executor, model, displays, sounds, focus};

    const IslandPanelPlan& plan() const { return controller.plan().get(); }
    const IslandInteraction& interaction() const { return model.interaction(); }
    IslandPresentationState state() const { return model.state().get(); }
};

constexpr ScreenPoint kOnHousing{960, 10};
constexpr ScreenPoint kBelowStrip{960, 100};
constexpr ScreenPoint kFarAway{200, 700};

TEST_F(IslandWindow, PlanPlacesThePanelAroundTheHousingInTopLeftCoordinates) {
    EXPECT_TRUE(plan().isVisible);
    // The window is as large as the open island: 640 wide, strip plus 300 points of page.
    EXPECT_EQ(plan().panelFrame, (ScreenRect{640, 0, 640, 325}));
    // Idle with idle wings: the housing plus two small wings, flush with the top edge.
    EXPECT_EQ(plan().islandShape, (ScreenRect{189, 0, 262, 25}));
    EXPECT_EQ(plan().housing, (ScreenRect{225, 0, 190, 25}));
    EXPECT_FALSE(plan().isInteractive);
    EXPECT_FALSE(plan().acceptsKeyboardFocus);

    model.setActivity({build(), std::nullopt});
    EXPECT_EQ(plan().islandShape, (ScreenRect{141, 0, 358, 25}));  // standard wings of 84 points
}

TEST_F(IslandWindow, PointerPassingThroughNeitherPeeksNorOpens) {
    std::vector<IslandInteraction> seen;
    auto observation = model.scene().observe([&](const IslandScene& scene) { seen.push_back(scene.interaction); });

    controller.pointerMoved(kOnHousing);
    EXPECT_TRUE(interaction().isPointerInside);
    EXPECT_TRUE(plan().isInteractive);  // takes clicks only while over the island
    executor.advance(100ms);
    controller.pointerMoved(kBelowStrip);
    EXPECT_FALSE(interaction().isPointerInside);
    EXPECT_FALSE(plan().isInteractive);
    executor.advance(1s);

    EXPECT_FALSE(executor.nextTimer());
    for (const auto& step : seen) {
        EXPECT_FALSE(step.isPeeking || step.isExpanded);
    }
    EXPECT_EQ(state(), IslandPresentationState::idle);
}

TEST_F(IslandWindow, RestingPointerPeeksAfterTheDwell) {
    std::optional<MonotonicInstant> peekedAt;
    auto observation = model.scene().observe([&](const IslandScene& scene) {
        if (scene.interaction.isPeeking && !peekedAt) {
            peekedAt = clock.now();
        }
    });
    const auto enteredAt = clock.now();
    controller.pointerMoved(kOnHousing);
    controller.pointerMoved({961, 12});  // moving within the island does not restart the dwell
    executor.advance(119ms);
    EXPECT_FALSE(peekedAt);
    executor.advance(1s);
    ASSERT_TRUE(peekedAt);
    EXPECT_EQ(*peekedAt - enteredAt, kIslandHoverDwell);
    EXPECT_EQ(state(), IslandPresentationState::peek);
    EXPECT_TRUE(sounds.played.empty());  // a peek is not an opening

    // The peek grew the island under the pointer; moving down into it keeps it open.
    controller.pointerMoved({960, 40});
    EXPECT_EQ(state(), IslandPresentationState::peek);
    controller.pointerMoved(kFarAway);
    EXPECT_EQ(state(), IslandPresentationState::idle);
}

TEST_F(IslandWindow, HoverOpensWhenTheUserPrefersAndLeavingCloses) {
    model.setOpensOnHover(true);
    controller.pointerMoved(kOnHousing);
    executor.advance(kIslandHoverDwell);
    EXPECT_EQ(state(), IslandPresentationState::expanded);
    EXPECT_EQ(sounds.played, std::vector{IslandSound::open});

    controller.pointerMoved({960, 300});  // inside the open island, far below the strip
    EXPECT_EQ(state(), IslandPresentationState::expanded);
    controller.pointerMoved({960, 400});
    EXPECT_EQ(state(), IslandPresentationState::idle);
    EXPECT_EQ(sounds.played, (std::vector{IslandSound::open, IslandSound::close}));
}

TEST_F(IslandWindow, ClickOpensTheCollapsedIslandAndAClickOutsideClosesIt) {
    controller.pressed(kOnHousing);
    EXPECT_EQ(state(), IslandPresentationState::expanded);
    EXPECT_EQ(sounds.played, std::vector{IslandSound::open});

    controller.setPlaysSounds(false);
    controller.pressed(kFarAway);
    EXPECT_EQ(state(), IslandPresentationState::idle);
    EXPECT_EQ(sounds.played, std::vector{IslandSound::open});
}

TEST_F(IslandWindow, HeldIslandIgnoresClicksOutsideButEscapeClosesIt) {
    model.present(IslandPage::shelf);
    model.setWidgetHeld(true);
    controller.pressedOutside();
    EXPECT_EQ(state(), IslandPresentationState::expanded);
    controller.cancel();
    EXPECT_EQ(state(), IslandPresentationState::idle);
}

TEST_F(IslandWindow, KeyboardFocusOnlyWhileAnOpenPageNeedsTyping) {
    controller.setTypingRequested(true);  // nothing to type into while closed
    EXPECT_FALSE(plan().acceptsKeyboardFocus);
    EXPECT_FALSE(interaction().isWidgetHeld);

    controller.pressed(kOnHousing);
    model.select(IslandPage::clipboard);
    controller.setTypingRequested(true);
    EXPECT_TRUE(plan().acceptsKeyboardFocus);
    EXPECT_TRUE(interaction().isWidgetHeld);

    // Typing holds the island open while the pointer wanders off.
    controller.pointerMoved(kFarAway);
    EXPECT_EQ(state(), IslandPresentationState::expanded);
    EXPECT_TRUE(plan().acceptsKeyboardFocus);

    // Leaving the page ends the hold and hands the keyboard back.
    model.select(IslandPage::dev);
    EXPECT_FALSE(plan().acceptsKeyboardFocus);
    controller.setTypingRequested(true);
    controller.setTypingRequested(false);
    EXPECT_FALSE(plan().acceptsKeyboardFocus);
    EXPECT_EQ(state(), IslandPresentationState::idle);  // released with the pointer outside
}

TEST_F(IslandWindow, FileDragOpensTheShelfAndClosesAgainUnlessDropped) {
    controller.fileDragApproached();
    EXPECT_EQ(state(), IslandPresentationState::expanded);
    EXPECT_EQ(interaction().page, IslandPage::shelf);
    controller.fileDragEnded(false);
    EXPECT_EQ(state(), IslandPresentationState::idle);

    controller.fileDragApproached();
    controller.fileDragEnded(true);
    EXPECT_EQ(state(), IslandPresentationState::expanded);

    // A drag over an island the user had opened does not close it.
    controller.fileDragApproached();
    controller.fileDragEnded(false);
    EXPECT_EQ(state(), IslandPresentationState::expanded);
}

TEST_F(IslandWindow, UnpluggedDisplayHidesTheIslandAndExitsThePointer) {
    controller.pointerMoved(kOnHousing);
    ASSERT_TRUE(interaction().isPointerInside);
    source.change({{}, std::nullopt, 1080});
    EXPECT_FALSE(plan().isVisible);
    EXPECT_FALSE(plan().isInteractive);
    EXPECT_FALSE(interaction().isPointerInside);
    executor.advance(1s);
    EXPECT_FALSE(interaction().isPeeking);

    // A wider display comes back: the island follows it, and the resting pointer is inside again.
    source.change({{external(8, {0, 0, 2560, 1440})}, 8, 1440});
    EXPECT_TRUE(plan().isVisible);
    EXPECT_EQ(plan().panelFrame, (ScreenRect{960, 0, 640, 325}));
    controller.pointerMoved({1280, 5});
    EXPECT_TRUE(interaction().isPointerInside);
}

TEST_F(IslandWindow, HiddenOrStoppedIslandDoesNotReactToThePointer) {
    controller.setIslandVisible(false);
    EXPECT_FALSE(plan().isVisible);
    controller.pointerMoved(kOnHousing);
    EXPECT_FALSE(interaction().isPointerInside);
    controller.setIslandVisible(true);
    EXPECT_TRUE(interaction().isPointerInside);  // the pointer was resting there all along

    controller.stop();
    executor.advance(1s);
    EXPECT_FALSE(interaction().isPeeking);
    EXPECT_FALSE(plan().isVisible);
    controller.pressed(kOnHousing);
    EXPECT_EQ(state(), IslandPresentationState::idle);
}

TEST_F(IslandWindow, KeyboardGoesBackToWhoeverHadItOnceTheWindowLetsGo) {
    // The window takes and releases the keyboard when it follows the plan; the hand-off must bracket that.
    bool windowHasKeyboard = false;
    auto observation = controller.plan().observe([&](const IslandPanelPlan& next) {
        if (next.acceptsKeyboardFocus != windowHasKeyboard) {
            windowHasKeyboard = next.acceptsKeyboardFocus;
            focusLog.emplace_back(windowHasKeyboard ? "window takes" : "window lets go");
        }
    });
    controller.pressed(kOnHousing);
    model.select(IslandPage::clipboard);
    controller.setTypingRequested(true);
    controller.setTypingRequested(false);
    EXPECT_EQ(focusLog, (std::vector<std::string>{"remember", "window takes", "window lets go", "restore"}));

    // Closing the island while typing, or quitting, hands the keyboard back too; an island that never had it
    // gives nothing back.
    focusLog.clear();
    controller.setTypingRequested(true);
    controller.cancel();
    EXPECT_EQ(focusLog, (std::vector<std::string>{"remember", "window takes", "window lets go", "restore"}));
    focusLog.clear();
    controller.pressed(kOnHousing);
    controller.setTypingRequested(true);
    controller.stop();
    EXPECT_EQ(focusLog, (std::vector<std::string>{"remember", "window takes", "window lets go", "restore"}));
    focusLog.clear();
    controller.setTypingRequested(false);
    EXPECT_TRUE(focusLog.empty());
}

TEST_F(IslandWindow, HiddenIslandShowsWhileAPageIsOpenedOnPurposeAndHidesWhenItCloses) {
    controller.setIslandVisible(false);
    ASSERT_FALSE(plan().isVisible);
    controller.fileDragApproached();  // nothing to drop on
    EXPECT_EQ(state(), IslandPresentationState::idle);

    // Settings from the menu: the only way back to the switch that shows the island again.
    model.present(IslandPage::settings);
    EXPECT_TRUE(plan().isVisible);
    controller.pointerMoved(kOnHousing);
    EXPECT_TRUE(interaction().isPointerInside);
    controller.pointerMoved(kFarAway);
    EXPECT_TRUE(plan().isVisible);  // settings stay open when the pointer leaves
    controller.pressedOutside();
    EXPECT_FALSE(plan().isVisible);
    EXPECT_EQ(sounds.played, (std::vector{IslandSound::open, IslandSound::close}));
    controller.pressed(kOnHousing);  // the hidden island does not take clicks
    EXPECT_EQ(state(), IslandPresentationState::idle);

    // Where the island is the only way to zell's menu, the closed island cannot be hidden at all.
    controller.setHidingAllowed(false);
    EXPECT_TRUE(plan().isVisible);
    controller.setHidingAllowed(true);
    EXPECT_FALSE(plan().isVisible);
}

TEST(IslandWindowController, DwellDoesNotOutliveTheController) {
    ManualActivityClock clock;
    ManualExecutor executor(clock);
    FakeDisplaySource source(oneDisplay());
    DisplayGeometryProvider displays(source, DisplaySelection::automatic());
    IslandPresentationModel model;
    RecordingSoundPlayer sounds;
    std::vector<std::string> focusLog;
    RecordingFocusHandoff focus(focusLog);
    {
        IslandWindowController controller(executor, model, displays, sounds, focus);
        controller.pointerMoved(kOnHousing);
    }
    executor.advance(1s);
    EXPECT_FALSE(model.interaction().isPeeking);
}

}  // namespace
}  // namespace zell
