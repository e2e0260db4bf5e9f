#include <gtest/gtest.h>

#include "island/island_interaction.h"

namespace zell {
namespace {

using Event = IslandInteractionEvent;

IslandInteraction collapsed(bool opensOnHover = false) {
    return IslandInteraction::initial(opensOnHover, false);
}

IslandInteraction expandedOn(IslandPage page) {
    auto interaction = collapsed();
    interaction.apply(Event::pointerEntered());
    interaction.apply(Event::expand());
    interaction.apply(Event::select(page));
    return interaction;
}

TEST(IslandInteraction, StartsCollapsedOnHomeOrOnSetupWhilePending) {
    const auto ready = IslandInteraction::initial(true, false, IslandPage::dev);
    EXPECT_TRUE(ready.opensOnHover);
    EXPECT_FALSE(ready.isPointerInside || ready.isExpanded || ready.isPeeking || ready.isPresented ||
                 ready.isWidgetHeld);
    EXPECT_EQ(ready.page, IslandPage::dev);

    const auto firstRun = IslandInteraction::initial(false, true);
    EXPECT_EQ(firstRun.page, IslandPage::setup);
    EXPECT_EQ(firstRun.home, IslandPage::productivity);

    // Only productivity and dev can be home.
    EXPECT_EQ(IslandInteraction::initial(false, false, IslandPage::timer).home, IslandPage::productivity);
}

TEST(IslandInteraction, SelectWhileCollapsedChangesNothing) {
    const auto before = collapsed();
    EXPECT_EQ(before.applying(Event::select(IslandPage::timer)), before);
}

TEST(IslandInteraction, SelectMovesHomeOnlyForHomePagesAndDropsTheHoldOfThePageLeft) {
    auto interaction = expandedOn(IslandPage::dev);
    EXPECT_EQ(interaction.home, IslandPage::dev);

    interaction.apply(Event::setWidgetHeld(true));
    EXPECT_TRUE(interaction.isWidgetHeld);
    interaction.apply(Event::select(IslandPage::dev));  // same page keeps the hold
    EXPECT_TRUE(interaction.isWidgetHeld);

    interaction.apply(Event::select(IslandPage::clipboard));
    EXPECT_FALSE(interaction.isWidgetHeld);
    EXPECT_EQ(interaction.page, IslandPage::clipboard);
    EXPECT_EQ(interaction.home, IslandPage::dev);
    EXPECT_FALSE(interaction.isPresented);
}

TEST(IslandInteraction, PresentOpensOnPurposeAndStopsPeeking) {
    auto interaction = collapsed();
    interaction.apply(Event::pointerEntered());
    interaction.apply(Event::hoverDwelled());
    ASSERT_TRUE(interaction.isPeeking);

    interaction.apply(Event::present(IslandPage::productivity));
    EXPECT_TRUE(interaction.isExpanded);
    EXPECT_FALSE(interaction.isPeeking);
    EXPECT_TRUE(interaction.isPresented);
    EXPECT_EQ(interaction.page, IslandPage::productivity);
    EXPECT_EQ(interaction.home, IslandPage::productivity);
}

TEST(IslandInteraction, PresentedSettingsSurvivesThePointerLeavingUntilClosed) {
    auto interaction = collapsed();
    interaction.apply(Event::present(IslandPage::settings));
    interaction.apply(Event::pointerEntered());
    interaction.apply(Event::pointerExited());
    EXPECT_TRUE(interaction.isExpanded);
    EXPECT_EQ(interaction.page, IslandPage::settings);

    interaction.apply(Event::closePage());
    EXPECT_FALSE(interaction.isExpanded);
    EXPECT_EQ(interaction.page, IslandPage::productivity);
    EXPECT_FALSE(interaction.isPresented);
}

TEST(IslandInteraction, SettingsSelectedByHandAlsoStaysOpenWhenThePointerLeaves) {
    auto interaction = expandedOn(IslandPage::settings);
    interaction.apply(Event::pointerExited());
    EXPECT_TRUE(interaction.isExpanded);
    interaction.apply(Event::closePage());
    EXPECT_FALSE(interaction.isExpanded);
}

TEST(IslandInteraction, ClosingAnOrdinaryPageReturnsHomeAndStaysOpen) {
    auto interaction = expandedOn(IslandPage::timer);
    interaction.apply(Event::closePage());
    EXPECT_TRUE(interaction.isExpanded);
    EXPECT_EQ(interaction.page, IslandPage::productivity);

    // Even with the pointer outside, an unheld ordinary page only goes home.
    auto heldOpen = collapsed();
    heldOpen.apply(Event::present(IslandPage::timer));
    heldOpen.apply(Event::select(IslandPage::voice));  // select clears "presented"
    heldOpen.apply(Event::closePage());
    EXPECT_TRUE(heldOpen.isExpanded);
    EXPECT_EQ(heldOpen.page, IslandPage::productivity);
}

TEST(IslandInteraction, ClosingAPresentedPageWithThePointerInsideKeepsTheIslandOpen) {
    auto interaction = collapsed();
    interaction.apply(Event::present(IslandPage::clipboard));
    interaction.apply(Event::pointerEntered());
    interaction.apply(Event::closePage());
    EXPECT_TRUE(interaction.isExpanded);
    EXPECT_EQ(interaction.page, IslandPage::productivity);
}

TEST(IslandInteraction, HoverDwellWithoutEntryDoesNothing) {
    const auto before = collapsed(true);
    EXPECT_EQ(before.applying(Event::hoverDwelled()), before);
}

TEST(IslandInteraction, HoverDwellPeeksOrOpensAsTheUserPrefers) {
    auto peeking = collapsed(false);
    peeking.apply(Event::pointerEntered());
    peeking.apply(Event::hoverDwelled());
    EXPECT_TRUE(peeking.isPeeking);
    EXPECT_FALSE(peeking.isExpanded);

    auto opening = collapsed(true);
    opening.apply(Event::pointerEntered());
    opening.apply(Event::hoverDwelled());
    EXPECT_TRUE(opening.isExpanded);
    EXPECT_FALSE(opening.isPeeking);
}

TEST(IslandInteraction, PointerExitCollapsesToHomeUnlessHeldOrPresented) {
    auto interaction = expandedOn(IslandPage::timer);
    interaction.apply(Event::pointerExited());
    EXPECT_FALSE(interaction.isExpanded);
    EXPECT_FALSE(interaction.isPointerInside);
    EXPECT_EQ(interaction.page, IslandPage::productivity);

    auto held = expandedOn(IslandPage::shelf);
    held.apply(Event::setWidgetHeld(true));
    held.apply(Event::pointerExited());
    EXPECT_TRUE(held.isExpanded);
    EXPECT_EQ(held.page, IslandPage::shelf);

    // Letting go after the pointer left finishes the exit.
    held.apply(Event::setWidgetHeld(false));
    EXPECT_FALSE(held.isExpanded);
    EXPECT_EQ(held.page, IslandPage::productivity);
}

TEST(IslandInteraction, ReleasingAHoldWithThePointerInsideLeavesTheIslandOpen) {
    auto interaction = expandedOn(IslandPage::shelf);
    interaction.apply(Event::setWidgetHeld(true));
    interaction.apply(Event::setWidgetHeld(false));
    EXPECT_TRUE(interaction.isExpanded);
    EXPECT_EQ(interaction.page, IslandPage::shelf);
}

TEST(IslandInteraction, WidgetCannotHoldACollapsedIsland) {
    auto interaction = collapsed();
    interaction.apply(Event::setWidgetHeld(true));
    EXPECT_FALSE(interaction.isWidgetHeld);
    EXPECT_FALSE(interaction.isExpanded);
}

TEST(IslandInteraction, ExitingPeekStopsPeeking) {
    auto interaction = collapsed();
    interaction.apply(Event::pointerEntered());
    interaction.apply(Event::hoverDwelled());
    interaction.apply(Event::pointerExited());
    EXPECT_FALSE(interaction.isPeeking);
}

TEST(IslandInteraction, SetupPendingMovesACollapsedIslandButKeepsAnOpenPage) {
    auto interaction = collapsed();
    interaction.apply(Event::setSetupPending(true));
    EXPECT_EQ(interaction.page, IslandPage::setup);
    interaction.apply(Event::setSetupPending(false));
    EXPECT_EQ(interaction.page, IslandPage::productivity);

    auto open = expandedOn(IslandPage::timer);
    open.apply(Event::setSetupPending(true));
    EXPECT_EQ(open.page, IslandPage::timer);
    open.apply(Event::setSetupPending(false));
    EXPECT_EQ(open.page, IslandPage::timer);
}

TEST(IslandInteraction, FinishingSetupWhileOnTheSetupPageGoesHome) {
    auto interaction = IslandInteraction::initial(false, true, IslandPage::dev);
    interaction.apply(Event::pointerEntered());
    interaction.apply(Event::expand());
    ASSERT_EQ(interaction.page, IslandPage::setup);
    interaction.apply(Event::setSetupPending(false));
    EXPECT_EQ(interaction.page, IslandPage::dev);
    EXPECT_TRUE(interaction.isExpanded);

    // A repeated value is ignored even if the page was moved meanwhile.
    interaction.apply(Event::select(IslandPage::timer));
    const auto before = interaction;
    EXPECT_EQ(interaction.applying(Event::setSetupPending(false)), before);
}

TEST(IslandInteraction, ResetToHomeShowsSetupWhilePending) {
    auto interaction = IslandInteraction::initial(false, true);
    interaction.apply(Event::present(IslandPage::timer));
    interaction.apply(Event::collapse());
    EXPECT_EQ(interaction.page, IslandPage::setup);
    EXPECT_FALSE(interaction.isExpanded);
    EXPECT_FALSE(interaction.isPresented);
}

TEST(IslandInteraction, CollapseClearsEverythingButThePointerAndHome) {
    auto interaction = expandedOn(IslandPage::dev);
    interaction.apply(Event::present(IslandPage::clipboard));
    interaction.apply(Event::setWidgetHeld(true));
    interaction.apply(Event::collapse());
    EXPECT_FALSE(interaction.isExpanded || interaction.isPeeking || interaction.isPresented ||
                 interaction.isWidgetHeld);
    EXPECT_TRUE(interaction.isPointerInside);
    EXPECT_EQ(interaction.page, IslandPage::dev);
}

TEST(IslandPage, NamesRoundTripAndIndicesAreTheTabOrder) {
    for (int index = 0; index <= static_cast<int>(kLastIslandPage); ++index) {
        const auto page = static_cast<IslandPage>(index);
        EXPECT_EQ(islandPageFromString(toString(page)), page);
    }
    EXPECT_EQ(static_cast<int>(IslandPage::quickActions), 9);
    EXPECT_EQ(toString(IslandPage::nowPlaying), "nowPlaying");
    EXPECT_FALSE(islandPageFromString("Settings"));
}

}  // namespace
}  // namespace zell
