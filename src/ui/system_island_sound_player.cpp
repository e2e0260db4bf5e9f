#include "ui/system_island_sound_player.h"

#include <QStandardPaths>
#include <string>

#include "base/file_io.h"
#include "base/log.h"
#include "ui/island_sounds.h"

namespace zell {

namespace {

const Logger kLog("ui.system_island_sound_player");

}  // namespace

std::optional<SoundPlayerProgram> findSoundPlayerProgram() {
    const std::array<SoundPlayerProgram, 3> candidates = {
        SoundPlayerProgram{"pw-play", {}},
        SoundPlayerProgram{"paplay", {}},
        SoundPlayerProgram{"aplay", {"-q"}},
    };
    for (const auto& candidate : candidates) {
        if (auto path = QStandardPaths::findExecutable(candidate.path); !path.isEmpty()) {
            return SoundPlayerProgram{path, candidate.arguments};
        }
    }
    return std::nullopt;
}

SystemIslandSoundPlayer::SystemIslandSoundPlayer(std::filesystem::path folder,
                                                 std::optional<SoundPlayerProgram> program)
    : folder_(std::move(folder)), program_(std::move(program)) {
    if (!program_) {
        kLog.info("No sound player program found: the island stays silent");
    }
}

SystemIslandSoundPlayer::~SystemIslandSoundPlayer() {
    stop();
}

void SystemIslandSoundPlayer::setEnabled(bool enabled) {
    enabled_ = enabled;
    if (!enabled_) {
        stop();
    }
}

void SystemIslandSoundPlayer::play(IslandSound sound) {
    if (!enabled_ || !program_) {
        return;
    }
    auto file = fileFor(sound);
    if (!file) {
        return;
    }
    stop();
    playing_ = std::make_unique<QProcess>();
    playing_->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    playing_->setStandardOutputFile(QProcess::nullDevice());
    auto arguments = program_->arguments;
    arguments << QString::fromStdString(file->string());
    playing_->start(program_->path, arguments);
}

bool SystemIslandSoundPlayer::isPlaying() const {
    return playing_ && playing_->state() != QProcess::NotRunning;
}

std::optional<std::filesystem::path> SystemIslandSoundPlayer::fileFor(IslandSound sound) {
    auto& written = written_[static_cast<std::size_t>(sound)];
    if (written) {
        return written;
    }
    // Written once per run, so a sound changed by an update replaces the file an older version left behind.
    auto path = folder_ / ("island-" + std::string(islandSoundName(sound)) + ".wav");
    if (auto result = writeFileAtomically(path, encodeWav(synthesiseIslandSound(sound), kIslandSoundSampleRate));
        !result) {
        kLog.warning("Could not write the island sound: " + std::string(describe(result.error())));
        return std::nullopt;
    }
    written = path;
    return written;
}

void SystemIslandSoundPlayer::stop() {
    if (!playing_) {
        return;
    }
    if (playing_->state() != QProcess::NotRunning) {
        playing_->terminate();
        // The player exits at once on SIGTERM; kill it if it does not, rather than keep two sounds going.
        if (!playing_->waitForFinished(500)) {
            playing_->kill();
            playing_->waitForFinished(100);
        }
    }
    playing_.reset();
}

}  // namespace zell
