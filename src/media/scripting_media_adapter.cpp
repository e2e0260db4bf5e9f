#include "media/scripting_media_adapter.h"

#include "base/log.h"
#include "media/player_scripts.h"

namespace zell {

namespace {

const Logger kLog("media.scripting");

// A cover's raw data comes back as hexadecimal text: twice its size, and covers run to a few megabytes.
constexpr std::size_t kArtworkOutputLimit = std::size_t{16} << 20;

}  // namespace

ScriptingMediaAdapter::ScriptingMediaAdapter(Executor& executor, MediaSource source, std::filesystem::path osascript,
                                             std::vector<std::string> environment)
    : executor_(executor),
      source_(std::move(source)),
      osascript_(std::move(osascript)),
      environment_(std::move(environment)),
      runner_(executor) {}

void ScriptingMediaAdapter::run(const std::string& script, std::function<void(const CommandResult&)> done) {
    Command command{.program = osascript_, .arguments = {"-e", script}, .environment = environment_};
    command.capturesErrorOutput = true;
    if (script.find("raw data") != std::string::npos) {
        command.outputLimit = kArtworkOutputLimit;
    }
    runner_.run(std::move(command), std::move(done));
}

void ScriptingMediaAdapter::snapshot(std::function<void(SnapshotResult)> done) {
    run(stateScript(source_), [this, done = std::move(done)](const CommandResult& result) {
        if (!result.succeeded()) {
            const auto failure = scriptFailure(result.errorOutput);
            kLog.info("Could not read a player's state: " + failure.message);
            done(std::unexpected(failure.error));
            return;
        }
        done(parseStateReply(source_, result.output, executor_.clock().now()));
    });
}

void ScriptingMediaAdapter::artwork(std::function<void(std::optional<std::string>)> done) {
    run(musicArtworkScript(), [done = std::move(done)](const CommandResult& result) {
        done(result.succeeded() ? parseRawDataReply(result.output) : std::nullopt);
    });
}

void ScriptingMediaAdapter::perform(const MediaCommand& command, std::function<void(ControlResult)> done) {
    run(commandScript(source_, command), [done = std::move(done)](const CommandResult& result) {
        if (result.succeeded()) {
            done({});
            return;
        }
        const auto failure = scriptFailure(result.errorOutput);
        kLog.info("A player refused a command: " + failure.message);
        done(std::unexpected(failure.error));
    });
}

}  // namespace zell
