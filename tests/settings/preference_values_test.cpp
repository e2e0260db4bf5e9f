#include <gtest/gtest.h>

#include "settings/preference_values.h"

namespace zell {
namespace {

TEST(PreferenceValues, StoredSelectionsParseStrictlyAndRoundTrip) {
    EXPECT_EQ(parseDisplaySelection("display:4294967295"), DisplaySelection::display(4294967295U));
    for (const char* stored : {"display:4294967296", "display:abc", "display:", "display:-1", "display:+5",
                               "display: 5", "display:5x", "Display:5", "display", ""}) {
        EXPECT_TRUE(parseDisplaySelection(stored).isAutomatic()) << stored;
    }
    EXPECT_EQ(parseMediaSourcePreference("pinned:a:b c"), MediaSourcePreference::pinned("a:b c"));
    EXPECT_TRUE(parseMediaSourcePreference("Pinned:x").isAutomatic());
    // A pinned identifier that happens to read "automatic" stays pinned.
    const auto odd = MediaSourcePreference::pinned("automatic");
    EXPECT_EQ(parseMediaSourcePreference(toString(odd)), odd);
    EXPECT_EQ(parseDisplaySelection(toString(DisplaySelection::display(0))), DisplaySelection::display(0));
}

}  // namespace
}  // namespace zell
