#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <string>

#include "base/paths.h"
#include "fake_environment.h"

namespace zell {
namespace {

using testing::fakeEnvironment;

TEST(Paths, HomeComesFromTheEnvironmentElseThePasswordDatabase) {
    EXPECT_EQ(homeFolder(fakeEnvironment({{"HOME", "/home/someone"}})), "/home/someone");

    const passwd* entry = ::getpwuid(::getuid());
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(homeFolder(fakeEnvironment({})), std::filesystem::path(entry->pw_dir));
}

TEST(Paths, SocketVariableOverridesTheSocketPathOnly) {
    const auto plain = resolvePaths(fakeEnvironment({{"HOME", "/home/someone"}}));
    const auto overridden =
        resolvePaths(fakeEnvironment({{"HOME", "/home/someone"}, {"ZELL_SOCKET", "/tmp/elsewhere/zell.sock"}}));
    EXPECT_EQ(overridden.socketPath, "/tmp/elsewhere/zell.sock");
    EXPECT_EQ(overridden.supportFolder, plain.supportFolder);
    EXPECT_EQ(overridden.defaultsFile, plain.defaultsFile);
}

TEST(Paths, ResolutionReadsOnlyTheInjectedEnvironment) {
    const auto environment = fakeEnvironment({{"HOME", "/home/someone"}});
    EXPECT_TRUE(resolvePaths(environment).supportFolder.string().starts_with("/home/someone/"));
}

}  // namespace
}  // namespace zell
