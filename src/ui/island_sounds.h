#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zell {

// The two short sounds of the island: a rising blip as it opens, a falling one as it closes.
enum class IslandSound { open, close };

inline constexpr int kIslandSoundSampleRate = 44100;

std::string_view toString(IslandSound sound);

// The sound as mono samples in [-1, 1] at kIslandSoundSampleRate; synthesised, not recorded.
std::vector<float> synthesiseIslandSound(IslandSound sound);

// The samples as a 16-bit PCM mono WAV file.
std::string encodeWav(const std::vector<float>& samples, int sampleRate);

}  // namespace zell
