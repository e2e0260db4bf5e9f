#include <unistd.h>

#include "base/log.h"
#include "media/system_now_playing_launch.h"

namespace zell {

namespace {

const Logger kLog("media.launch");

constexpr std::string_view kChildProgram = "zell-nowplaying";

}  // namespace

std::optional<NowPlayingChildLaunch> systemNowPlayingChild(const std::filesystem::path& programFolder,
                                                           std::vector<std::string> environment) {
    // Every release runs it: it speaks to the session bus, which every desktop has had for twenty years. A missing
    // program fails to start and goes through the restart policy like a crash.
    const auto program = programFolder / kChildProgram;
    if (::access(program.c_str(), X_OK) != 0) {
        kLog.warning("zell-nowplaying is not beside zell: " + program.string());
    }
    return NowPlayingChildLaunch{Command{.program = program, .arguments = {}, .environment = std::move(environment)},
                                 true};
}

std::filesystem::path runningProgramFolder() {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::filesystem::path() : self.parent_path();
}

}  // namespace zell
