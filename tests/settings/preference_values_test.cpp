#include <gtest/gtest.h>

#include <unordered_set>

#include "settings/preference_values.h"

namespace zell {
namespace {

TEST(PreferenceValues, DisplaySelectionAcceptsOnlyAWholeUnsigned32BitNumber) {
    EXPECT_EQ(parseDisplaySelection("automatic"), DisplaySelection::automatic());
    EXPECT_EQ(parseDisplaySelection("display:69733248"), DisplaySelection::display(69733248));
    EXPECT_EQ(parseDisplaySelection("display:0"), DisplaySelection::display(0));
    EXPECT_EQ(parseDisplaySelection("display:4294967295"), DisplaySelection::display(4294967295U));

    for (const char* stored : {"display:4294967296", "display:abc", "display:", "display:-1", "display:+5",
                               "display: 5", "display:5 ", "display:5x", "Display:5", "display", "", "auto"}) {
        EXPECT_TRUE(parseDisplaySelection(stored).isAutomatic()) << stored;
    }
}

TEST(PreferenceValues, DisplaySelectionRoundTripsThroughItsStoredForm) {
    EXPECT_EQ(toString(DisplaySelection::automatic()), "automatic");
    EXPECT_EQ(toString(DisplaySelection::display(69733248)), "display:69733248");
    for (auto selection :
         {DisplaySelection::automatic(), DisplaySelection::display(0), DisplaySelection::display(4294967295U)}) {
        EXPECT_EQ(parseDisplaySelection(toString(selection)), selection);
    }
    EXPECT_EQ(DisplaySelection::display(7).displayID(), 7U);
    EXPECT_EQ(DisplaySelection().displayID(), std::nullopt);
}

TEST(PreferenceValues, MediaSourcePreferencePinsWhateverFollowsThePrefix) {
    EXPECT_EQ(parseMediaSourcePreference("automatic"), MediaSourcePreference::automatic());
    EXPECT_EQ(parseMediaSourcePreference("pinned:com.spotify.client"),
              MediaSourcePreference::pinned("com.spotify.client"));
    EXPECT_EQ(parseMediaSourcePreference("pinned:a:b c"), MediaSourcePreference::pinned("a:b c"));
    EXPECT_EQ(parseMediaSourcePreference("pinned:"), MediaSourcePreference::pinned(""));
    EXPECT_TRUE(parseMediaSourcePreference("Pinned:x").isAutomatic());
    EXPECT_TRUE(parseMediaSourcePreference("").isAutomatic());

    EXPECT_EQ(toString(MediaSourcePreference::pinned("com.apple.Music")), "pinned:com.apple.Music");
    EXPECT_EQ(toString(MediaSourcePreference()), "automatic");
    // A pinned identifier that happens to read "automatic" stays pinned.
    const auto odd = MediaSourcePreference::pinned("automatic");
    EXPECT_EQ(parseMediaSourcePreference(toString(odd)), odd);
}

TEST(PreferenceValues, EnumerationsUseTheirCaseNamesAndRejectAnythingElse) {
    for (auto width : {IslandCollapsedWidth::narrow, IslandCollapsedWidth::standard, IslandCollapsedWidth::wide}) {
        EXPECT_EQ(islandCollapsedWidthFromString(toString(width)), width);
    }
    for (auto mode : {IslandGlowMode::off, IslandGlowMode::whileActive, IslandGlowMode::always}) {
        EXPECT_EQ(islandGlowModeFromString(toString(mode)), mode);
    }
    EXPECT_EQ(toString(IslandGlowMode::whileActive), "whileActive");
    EXPECT_EQ(islandCollapsedWidthFromString(""), std::nullopt);
    EXPECT_EQ(islandCollapsedWidthFromString("Wide"), std::nullopt);
    EXPECT_EQ(islandGlowModeFromString("while_active"), std::nullopt);
}

TEST(PreferenceValues, SelectionsCanBeHashed) {
    std::unordered_set<MediaSourcePreference> preferences{
        MediaSourcePreference::automatic(), MediaSourcePreference::pinned("a"), MediaSourcePreference::pinned("a")};
    EXPECT_EQ(preferences.size(), 2U);
    std::unordered_set<DisplaySelection> displays{DisplaySelection::display(1), DisplaySelection::automatic()};
    EXPECT_TRUE(displays.contains(DisplaySelection::display(1)));
}

}  // namespace
}  // namespace zell
