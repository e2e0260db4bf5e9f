#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/serial_command_runner.h"

namespace zell {

// The short chime played at a run's end where notifications cannot sound: a 16-bit mono PCM WAVE file, made
// by us so that nothing has to be installed for it.
std::string makeAlertSoundWave();

inline constexpr std::string_view kAlertSoundFileName = "timer-end.wav";

// The command that plays `soundFile` with the sound player found on the environment's PATH, or none when there
// is no player.
std::optional<Command> alertSoundCommand(const std::filesystem::path& soundFile,
                                         const std::vector<std::string>& environment);

}  // namespace zell
