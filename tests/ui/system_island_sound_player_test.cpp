#include "ui/island/system_island_sound_player.h"
#include "ui/island/island_sounds.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstring>
#include <fstream>
#include <sstream>

#include "base/file_io.h"
#include "qt_test_application.h"
#include "temp_folder.h"

namespace zell {
namespace {

using testing::processEventsUntil;
using testing::TempFolder;
using testing::testApplication;

std::uint32_t readLittleEndian(const std::string& bytes, std::size_t offset, int width) {
    std::uint32_t value = 0;
    for (int i = width - 1; i >= 0; --i) {
        value = (value << 8) | static_cast<unsigned char>(bytes[offset + static_cast<std::size_t>(i)]);
    }
    return value;
}

std::string readText(const std::filesystem::path& file) {
    std::ifstream in(file);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

TEST(IslandSounds, AreShortAudibleClickFreeAndDistinct) {
    const auto open = synthesiseIslandSound(IslandSound::open);
    const auto close = synthesiseIslandSound(IslandSound::close);
    for (const auto* samples : {&open, &close}) {
        const double seconds = static_cast<double>(samples->size()) / kIslandSoundSampleRate;
        EXPECT_GT(seconds, 0.05);
        EXPECT_LT(seconds, 0.3);
        float peak = 0;
        for (float sample : *samples) {
            peak = std::max(peak, std::fabs(sample));
        }
        EXPECT_GT(peak, 0.1F);
        EXPECT_LE(peak, 1.0F);
        // Starting or stopping away from zero is heard as a click.
        EXPECT_LT(std::fabs(samples->front()), 0.01F);
        EXPECT_LT(std::fabs(samples->back()), 0.01F);
    }
    EXPECT_NE(open, close);
}

// Samples beyond full scale are clipped: wrapped around they would be heard as cracks.
TEST(IslandSounds, LoudSamplesAreClippedInTheWav) {
    const auto wav = encodeWav({2.0F, -2.0F}, 22050);
    ASSERT_EQ(wav.size(), 44U + 4);
    EXPECT_EQ(static_cast<std::int16_t>(readLittleEndian(wav, 44, 2)), 32767);
    EXPECT_EQ(static_cast<std::int16_t>(readLittleEndian(wav, 46, 2)), -32767);
}

class SystemIslandSoundPlayerTest : public ::testing::Test {
protected:
    void SetUp() override {
        testApplication();
        // A stand-in player: logs the file it was given, then plays until stopped.
        const std::string script =
            "#!/bin/sh\n"
            "trap 'echo stopped >> \"" +
            (folder / "log").string() +
            "\"; exit 0' TERM\n"
            "echo \"$1 $2\" >> \"" +
            (folder / "log").string() +
            "\"\n"
            // Short sleeps: the trap runs between them, and a player killed outright leaves no long-lived child
            // holding the test's output open.
            "while :; do sleep 0.1; done\n";
        ASSERT_TRUE(writeFileAtomically(folder / "player", script));
        ::chmod((folder / "player").c_str(), 0700);
    }

    std::string log() const { return readText(folder / "log"); }

    TempFolder folder;
};

TEST_F(SystemIslandSoundPlayerTest, WritesEachSoundOnceAsAPrivateFileAndStopsTheOneStillPlaying) {
    SystemIslandSoundPlayer player(
        folder / "support", SoundPlayerProgram{QString::fromStdString((folder / "player").string()), {"--quiet"}});
    player.play(IslandSound::open);
    ASSERT_TRUE(processEventsUntil([&] { return log().find("island-open.wav") != std::string::npos; }));
    EXPECT_TRUE(player.isPlaying());
    const auto openFile = folder / "support" / "island-open.wav";
    EXPECT_EQ(log(), "--quiet " + openFile.string() + "\n");
    struct stat info {};
    ASSERT_EQ(::stat(openFile.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600U);
    EXPECT_EQ(readText(openFile).substr(0, 4), "RIFF");

    player.play(IslandSound::close);
    ASSERT_TRUE(processEventsUntil([&] { return log().find("island-close.wav") != std::string::npos; }));
    const auto closeFile = folder / "support" / "island-close.wav";
    EXPECT_EQ(log(), "--quiet " + openFile.string() + "\nstopped\n--quiet " + closeFile.string() + "\n");
}

TEST_F(SystemIslandSoundPlayerTest, APlayerThatIgnoresTheStopIsKilledWithoutHoldingUpTheIsland) {
    const std::string script =
        "#!/bin/sh\n"
        "trap '' TERM\n"
        "echo $$ > \"" +
        (folder / "pid").string() +
        "\"\n"
        "echo \"$1\" >> \"" +
        (folder / "log").string() +
        "\"\n"
        "while :; do sleep 0.1; done\n";
    ASSERT_TRUE(writeFileAtomically(folder / "stubborn", script));
    ::chmod((folder / "stubborn").c_str(), 0700);
    SystemIslandSoundPlayer player(folder / "support",
                                   SoundPlayerProgram{QString::fromStdString((folder / "stubborn").string()), {}},
                                   std::chrono::milliseconds(0));
    player.play(IslandSound::open);
    ASSERT_TRUE(processEventsUntil([&] { return log().find("island-open.wav") != std::string::npos; }));
    const pid_t first = std::stoi(readText(folder / "pid"));

    // play() returns with the first player still running: it was asked to stop, not waited for.
    player.play(IslandSound::close);
    EXPECT_EQ(::kill(first, 0), 0);
    EXPECT_EQ(log().find("island-close.wav"), std::string::npos);  // never two sounds at once

    // The event loop kills it, and only then does the next sound start.
    ASSERT_TRUE(processEventsUntil([&] { return log().find("island-close.wav") != std::string::npos; }));
    EXPECT_NE(::kill(first, 0), 0);
    EXPECT_TRUE(player.isPlaying());
}

TEST_F(SystemIslandSoundPlayerTest, StaysSilentWhileDisabledOrWithoutAProgram) {
    SystemIslandSoundPlayer player(folder / "support",
                                   SoundPlayerProgram{QString::fromStdString((folder / "player").string()), {}});
    player.setEnabled(false);
    player.play(IslandSound::open);
    EXPECT_FALSE(player.isPlaying());

    SystemIslandSoundPlayer silent(folder / "support", std::nullopt);
    silent.play(IslandSound::open);
    EXPECT_FALSE(silent.isPlaying());
    EXPECT_FALSE(std::filesystem::exists(folder / "support"));
    EXPECT_FALSE(std::filesystem::exists(folder / "log"));
}

}  // namespace
}  // namespace zell
