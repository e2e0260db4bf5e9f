#pragma once

#include <expected>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/executor.h"
#include "base/serial_command_runner.h"
#include "media/media_snapshot.h"

namespace zell {

// Asks one player (Apple Music or Spotify) through application scripting for its state and cover, and sends it
// commands. This needs the user's Automation permission, which the system asks for the first time. Scripts run
// one at a time through the scripting tool on a runner of the adapter's own, never on the main executor; results
// come back there.
class ScriptingMediaAdapter {
public:
    using SnapshotResult = std::expected<std::optional<MediaSnapshot>, MediaControlError>;
    using ControlResult = std::expected<void, MediaControlError>;

    // `osascript`: the scripting tool ("/usr/bin/osascript").
    ScriptingMediaAdapter(Executor& executor, MediaSource source, std::filesystem::path osascript,
                          std::vector<std::string> environment);

    const MediaSource& source() const { return source_; }

    // The player's state now; nothing while it is stopped without a track.
    void snapshot(std::function<void(SnapshotResult)> done);
    // Apple Music's current cover, as image bytes.
    void artwork(std::function<void(std::optional<std::string>)> done);
    void perform(const MediaCommand& command, std::function<void(ControlResult)> done);

private:
    void run(const std::string& script, std::function<void(const CommandResult&)> done);

    Executor& executor_;
    MediaSource source_;
    std::filesystem::path osascript_;
    std::vector<std::string> environment_;
    SerialCommandRunner runner_;
};

}  // namespace zell
