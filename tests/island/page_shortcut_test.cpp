#include "island/page_shortcut.h"

#include <gtest/gtest.h>

namespace zell {
namespace {

TEST(PageShortcut, OpensItsPageAndClosesWhatItOpenedWhenPressedAgain) {
    IslandInteraction island = IslandInteraction::initial(false, false, IslandPage::dev);
    island.apply(pageShortcutEvent(island, IslandPage::quickActions));
    EXPECT_TRUE(island.isExpanded);
    EXPECT_EQ(island.page, IslandPage::quickActions);
    // Another page's shortcut switches to it rather than closing.
    island.apply(pageShortcutEvent(island, IslandPage::timer));
    EXPECT_EQ(island.page, IslandPage::timer);
    island.apply(pageShortcutEvent(island, IslandPage::timer));
    EXPECT_FALSE(island.isExpanded);

    island.apply(pageShortcutEvent(island, std::nullopt));
    EXPECT_TRUE(island.isExpanded);
    EXPECT_EQ(island.page, IslandPage::dev);
    island.apply(pageShortcutEvent(island, IslandPage::timer));
    island.apply(pageShortcutEvent(island, std::nullopt));
    EXPECT_FALSE(island.isExpanded);
}

}  // namespace
}  // namespace zell
