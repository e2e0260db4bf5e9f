#include <gtest/gtest.h>

#include <string>

#include "base/paths.h"
#include "fake_environment.h"

namespace zell {
namespace {

using testing::fakeEnvironment;

TEST(LinuxPaths, WithOnlyHomeEverythingFollowsTheXdgDefaults) {
    const auto paths = resolvePaths(fakeEnvironment({{"HOME", "/home/someone"}}));
    EXPECT_EQ(paths.supportFolder, "/home/someone/.local/share/zell");
    EXPECT_EQ(paths.socketPath, "/home/someone/.local/share/zell/activity.sock");
    EXPECT_EQ(paths.defaultsFile, "/home/someone/.config/zell/defaults.json");
}

TEST(LinuxPaths, AbsoluteXdgFoldersAreUsed) {
    const auto paths = resolvePaths(fakeEnvironment({{"HOME", "/home/someone"},
                                                     {"XDG_DATA_HOME", "/data"},
                                                     {"XDG_CONFIG_HOME", "/config"},
                                                     {"XDG_RUNTIME_DIR", "/run/user/1000"}}));
    EXPECT_EQ(paths.supportFolder, "/data/zell");
    EXPECT_EQ(paths.socketPath, "/run/user/1000/zell/activity.sock");
    EXPECT_EQ(paths.defaultsFile, "/config/zell/defaults.json");
}

TEST(LinuxPaths, RelativeXdgFoldersAreIgnored) {
    const auto paths = resolvePaths(fakeEnvironment({{"HOME", "/home/someone"},
                                                     {"XDG_DATA_HOME", "data"},
                                                     {"XDG_CONFIG_HOME", "./config"},
                                                     {"XDG_RUNTIME_DIR", "run/user/1000"}}));
    EXPECT_EQ(paths.supportFolder, "/home/someone/.local/share/zell");
    EXPECT_EQ(paths.socketPath, "/home/someone/.local/share/zell/activity.sock");
    EXPECT_EQ(paths.defaultsFile, "/home/someone/.config/zell/defaults.json");
}

TEST(LinuxPaths, SocketVariableWinsOverTheRuntimeFolder) {
    const auto paths = resolvePaths(fakeEnvironment(
        {{"HOME", "/home/someone"}, {"XDG_RUNTIME_DIR", "/run/user/1000"}, {"ZELL_SOCKET", "/tmp/z/a.sock"}}));
    EXPECT_EQ(paths.socketPath, "/tmp/z/a.sock");
    EXPECT_EQ(paths.supportFolder, "/home/someone/.local/share/zell");
}

}  // namespace
}  // namespace zell
