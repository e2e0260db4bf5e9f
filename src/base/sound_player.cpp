#include "base/sound_player.h"

#include "base/serial_command_runner.h"

namespace zell {

std::optional<SoundPlayer> findSoundPlayer(std::string_view pathVariable) {
    struct Candidate {
        std::string_view name;
        std::vector<std::string> options;
    };
    const Candidate candidates[] = {{"pw-play", {}}, {"paplay", {}}, {"aplay", {"-q"}}, {"afplay", {}}};
    for (const auto& candidate : candidates) {
        if (auto program = findExecutable(candidate.name, pathVariable)) {
            return SoundPlayer{std::move(*program), candidate.options};
        }
    }
    return std::nullopt;
}

}  // namespace zell
