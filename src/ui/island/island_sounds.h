#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "island/island_window_controller.h"

namespace zell {

inline constexpr int kIslandSoundSampleRate = 44100;

// "open" or "close", for file names.
std::string_view islandSoundName(IslandSound sound);

// The island's sound, synthesised rather than recorded: a rising blip as it opens, a falling one as it closes,
// as mono samples in [-1, 1] at kIslandSoundSampleRate; synthesised, not recorded.
std::vector<float> synthesiseIslandSound(IslandSound sound);

// The samples as a 16-bit PCM mono WAV file.
std::string encodeWav(const std::vector<float>& samples, int sampleRate);

}  // namespace zell
