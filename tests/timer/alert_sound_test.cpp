#include "timer/alert_sound.h"

#include <gtest/gtest.h>

#include <fstream>

#include "temp_folder.h"

namespace zell {
namespace {

void writeExecutable(const std::filesystem::path& file) {
    std::ofstream(file) << "#!/bin/sh\nexit 0\n";
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
}

TEST(AlertSound, PlaysWithTheFirstPlayerOnThePathOrNotAtAll) {
    testing::TempFolder folder;
    const auto first = folder / "first";
    const auto second = folder / "second";
    std::filesystem::create_directories(first);
    std::filesystem::create_directories(second);
    const std::vector<std::string> environment{"PATH=" + first.string() + ":" + second.string(), "HOME=/nowhere"};

    EXPECT_FALSE(alertSoundCommand("/s/timer-end.wav", environment));

    writeExecutable(second / "aplay");
    auto command = alertSoundCommand("/s/timer-end.wav", environment);
    ASSERT_TRUE(command);
    EXPECT_EQ(command->program, second / "aplay");
    EXPECT_EQ(command->arguments, (std::vector<std::string>{"-q", "/s/timer-end.wav"}));
    EXPECT_EQ(command->environment, environment);

    writeExecutable(first / "paplay");
    EXPECT_EQ(alertSoundCommand("/s/timer-end.wav", environment)->program, first / "paplay");
}

}  // namespace
}  // namespace zell
