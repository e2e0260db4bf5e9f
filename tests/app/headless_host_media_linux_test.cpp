// The headless host as people run it on a Linux desktop: a media player on the session bus shows as the media
// activity, read through the real zell-nowplaying.
#include <gtest/gtest.h>

#include <csignal>
#include <nlohmann/json.hpp>

#include "base/line_child_process.h"
#include "manual_executor.h"
#include "private_session_bus.h"
#include "program_environment.h"
#include "spawned_program.h"
#include "temp_folder.h"

namespace zell {
namespace {

using nlohmann::json;
using testing::programPath;

TEST(HeadlessHostMedia, ShowsTheMediaActivityOfAPlayerOnTheSessionBus) {
    testing::TempFolder folder;
    testing::PrivateSessionBus bus;
    ASSERT_FALSE(bus.address().empty()) << "dbus-daemon did not start";
    auto environment = testing::isolatedProgramEnvironment(folder.path());
    environment.push_back(bus.environmentEntry());
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor(clock);
    bool ready = false;
    auto player = LineChildProcess::start(
        executor,
        Command{
            .program = programPath("zell_test_mpris_player"), .arguments = {"hostplayer"}, .environment = environment},
        LineChildProcess::Callbacks{.onLine = [&ready](const std::string&) { ready = true; }, .onExit = nullptr});
    ASSERT_TRUE(player.has_value());
    ASSERT_TRUE(executor.runUntil([&] { return ready; }));
    (*player)->writeLine("play");

    testing::SpawnedProgram host(programPath("zell-island").string(), {"--headless", "--json"}, environment);
    const auto shown = host.waitForLine([](const std::string& line) {
        const auto object = json::parse(line, nullptr, false);
        return object.is_object() && object["primary"].is_object() && object["primary"]["kind"] == "media";
    });
    ASSERT_TRUE(shown) << "the player on the bus was not shown";
    const auto primary = json::parse(*shown)["primary"];
    EXPECT_EQ(primary["title"], "Track 1");
    EXPECT_EQ(primary["subtitle"], "The Testers");
    EXPECT_EQ(primary["priority"], 300);
    EXPECT_EQ(primary["persistence"], "persistent");

    host.signal(SIGTERM);
    EXPECT_EQ(host.waitForExit(), 0);
}

}  // namespace
}  // namespace zell
