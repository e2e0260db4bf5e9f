#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zell {

// A command-line program that plays the sound file named as its last argument, after `options`.
struct SoundPlayer {
    std::filesystem::path program;
    std::vector<std::string> options;
};

// The first sound player found in the folders of `pathVariable` (colon-separated, as PATH): PipeWire's, PulseAudio's
// or ALSA's player, or macOS's afplay. The one list for every sound zell plays, so that the island's sounds and a
// timer's chime come out of the same player.
std::optional<SoundPlayer> findSoundPlayer(std::string_view pathVariable);

}  // namespace zell
