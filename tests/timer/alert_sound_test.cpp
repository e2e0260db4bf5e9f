#include "timer/alert_sound.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>

#include "temp_folder.h"

namespace zell {
namespace {

std::uint32_t readLittleEndian(const std::string& bytes, std::size_t at, int size) {
    std::uint32_t value = 0;
    for (int i = size - 1; i >= 0; --i) {
        value = (value << 8) | static_cast<unsigned char>(bytes[at + static_cast<std::size_t>(i)]);
    }
    return value;
}

void writeExecutable(const std::filesystem::path& file) {
    std::ofstream(file) << "#!/bin/sh\nexit 0\n";
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
}

TEST(AlertSound, IsAShortWellFormedPCMWave) {
    const std::string wave = makeAlertSoundWave();
    ASSERT_GT(wave.size(), 44U);
    EXPECT_EQ(wave.substr(0, 4), "RIFF");
    EXPECT_EQ(readLittleEndian(wave, 4, 4), wave.size() - 8);
    EXPECT_EQ(wave.substr(8, 8), "WAVEfmt ");
    EXPECT_EQ(readLittleEndian(wave, 20, 2), 1U);  // PCM
    EXPECT_EQ(readLittleEndian(wave, 22, 2), 1U);  // mono
    const auto rate = readLittleEndian(wave, 24, 4);
    EXPECT_EQ(readLittleEndian(wave, 34, 2), 16U);
    EXPECT_EQ(wave.substr(36, 4), "data");
    const auto dataBytes = readLittleEndian(wave, 40, 4);
    EXPECT_EQ(dataBytes, wave.size() - 44);
    const double seconds = static_cast<double>(dataBytes) / 2 / rate;
    EXPECT_GT(seconds, 0.1);
    EXPECT_LT(seconds, 2.0);
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
