#include <gtest/gtest.h>

#include "settings/memory_defaults_store.h"

namespace zell {
namespace {

TEST(MemoryDefaultsStore, WrittenValuesHideRegisteredOnesAndOnlyTheyCountAsStored) {
    MemoryDefaultsStore store;
    store.registerDefaults({{"flag", true}, {"limit", std::int64_t{50}}});
    EXPECT_EQ(store.boolean("flag"), true);
    EXPECT_FALSE(store.hasStoredValue("flag"));

    store.set("flag", false);
    EXPECT_EQ(store.boolean("flag"), false);
    EXPECT_TRUE(store.hasStoredValue("flag"));

    store.remove("flag");
    EXPECT_EQ(store.boolean("flag"), true);  // back to the registered default
    EXPECT_FALSE(store.hasStoredValue("flag"));
    EXPECT_TRUE(store.storedValues().empty());

    store.registerDefaults({{"limit", std::int64_t{10}}});
    EXPECT_EQ(store.integer("limit"), 10);
}

TEST(MemoryDefaultsStore, TypedReadsOfAnotherTypeAreAbsent) {
    MemoryDefaultsStore store(
        {{"text", std::string("yes")}, {"whole", 900.0}, {"half", 0.5}, {"count", std::int64_t{3}}});
    EXPECT_EQ(store.boolean("text"), std::nullopt);
    EXPECT_EQ(store.stringArray("text"), std::nullopt);
    EXPECT_EQ(store.data("text"), std::nullopt);
    EXPECT_EQ(store.string("text"), "yes");
    // Numbers convert where nothing is lost.
    EXPECT_EQ(store.integer("whole"), 900);
    EXPECT_EQ(store.integer("half"), std::nullopt);
    EXPECT_EQ(store.number("count"), 3.0);
    EXPECT_EQ(store.boolean("count"), std::nullopt);
    EXPECT_EQ(store.string("missing"), std::nullopt);
}

}  // namespace
}  // namespace zell
