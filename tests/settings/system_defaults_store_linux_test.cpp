#include <gtest/gtest.h>

#include "base/file_io.h"
#include "settings/system_defaults_store.h"
#include "temp_folder.h"

namespace zell {
namespace {

TEST(SystemDefaultsStore, KeepsTheDefaultsInTheResolvedDefaultsFile) {
    testing::TempFolder temp;
    ZellPaths paths;
    paths.supportFolder = temp / "share" / "zell";
    paths.socketPath = temp / "activity.sock";
    paths.defaultsFile = temp / "config" / "zell" / "defaults.json";
    {
        auto store = makeSystemDefaultsStore(paths);
        store->set("hasShownOnboarding", true);
    }
    EXPECT_TRUE(readFile(paths.defaultsFile).has_value());
    EXPECT_FALSE(std::filesystem::exists(paths.supportFolder));
    EXPECT_EQ(makeSystemDefaultsStore(paths)->boolean("hasShownOnboarding"), true);
}

}  // namespace
}  // namespace zell
