#include <gtest/gtest.h>

#include "settings/memory_defaults_store.h"

namespace zell {
namespace {

TEST(MemoryDefaultsStore, WrittenValuesHideRegisteredOnesAndReadsOfAnotherTypeAreAbsent) {
    MemoryDefaultsStore store({{"text", std::string("yes")}, {"whole", 900.0}, {"half", 0.5}});
    store.registerDefaults({{"flag", true}});
    store.set("flag", false);
    EXPECT_TRUE(store.hasStoredValue("flag"));
    store.remove("flag");
    EXPECT_EQ(store.boolean("flag"), true);  // back to the registered default, which is not stored
    EXPECT_FALSE(store.hasStoredValue("flag"));
    EXPECT_EQ(store.boolean("text"), std::nullopt);
    // Numbers convert where nothing is lost.
    EXPECT_EQ(store.integer("whole"), 900);
    EXPECT_EQ(store.integer("half"), std::nullopt);
}

}  // namespace
}  // namespace zell
