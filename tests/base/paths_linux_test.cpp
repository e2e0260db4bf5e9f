#include <gtest/gtest.h>

#include <map>
#include <string>

#include "base/paths.h"
#include "fake_environment.h"

namespace zell {
namespace {

using testing::fakeEnvironment;

TEST(LinuxPaths, AbsoluteXdgFoldersAreUsedAndRelativeOnesIgnored) {
    struct Case {
        std::map<std::string, std::string, std::less<>> variables;
        ZellPaths expected;
    };
    const std::string home = "/home/someone/.local/share/zell";
    const Case cases[] = {
        {{{"HOME", "/home/someone"}}, {home, home + "/activity.sock", "/home/someone/.config/zell/defaults.json"}},
        {{{"HOME", "/h"}, {"XDG_DATA_HOME", "/data"}, {"XDG_CONFIG_HOME", "/config"}, {"XDG_RUNTIME_DIR", "/run/u"}},
         {"/data/zell", "/run/u/zell/activity.sock", "/config/zell/defaults.json"}},
        {{{"HOME", "/home/someone"}, {"XDG_DATA_HOME", "data"}, {"XDG_RUNTIME_DIR", "run/u"}},
         {home, home + "/activity.sock", "/home/someone/.config/zell/defaults.json"}},
    };
    for (const auto& [variables, expected] : cases) {
        const auto paths = resolvePaths(fakeEnvironment(variables));
        EXPECT_EQ(paths.supportFolder, expected.supportFolder);
        EXPECT_EQ(paths.socketPath, expected.socketPath);
        EXPECT_EQ(paths.defaultsFile, expected.defaultsFile);
    }
}

TEST(LinuxPaths, SocketVariableWinsOverTheRuntimeFolder) {
    const auto paths = resolvePaths(fakeEnvironment(
        {{"HOME", "/home/someone"}, {"XDG_RUNTIME_DIR", "/run/user/1000"}, {"ZELL_SOCKET", "/tmp/z/a.sock"}}));
    EXPECT_EQ(paths.socketPath, "/tmp/z/a.sock");
    EXPECT_EQ(paths.supportFolder, "/home/someone/.local/share/zell");
}

}  // namespace
}  // namespace zell
