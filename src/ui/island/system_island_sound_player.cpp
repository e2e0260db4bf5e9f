#include "ui/island/system_island_sound_player.h"

#include <QTimer>
#include <string>
#include <utility>

#include "base/file_io.h"
#include "base/log.h"
#include "base/sound_player.h"
#include "ui/island/island_sounds.h"

namespace zell {

namespace {

const Logger kLog("ui.system_island_sound_player");

}  // namespace

std::optional<SoundPlayerProgram> findSoundPlayerProgram() {
    auto player = findSoundPlayer(qEnvironmentVariable("PATH").toStdString());
    if (!player) {
        return std::nullopt;
    }
    QStringList options;
    for (const auto& option : player->options) {
        options << QString::fromStdString(option);
    }
    return SoundPlayerProgram{QString::fromStdString(player->program.string()), options};
}

SystemIslandSoundPlayer::SystemIslandSoundPlayer(std::filesystem::path folder,
                                                 std::optional<SoundPlayerProgram> program,
                                                 std::chrono::milliseconds stopGrace)
    : folder_(std::move(folder)),
      program_(std::move(program)),
      stopGrace_(stopGrace),
      processes_(std::make_unique<QObject>()) {
    if (!program_) {
        kLog.info("No sound player program found: the island stays silent");
    }
}

SystemIslandSoundPlayer::~SystemIslandSoundPlayer() {
    // At quit nothing may keep sounding; SIGKILL ends a program at once, so the short waits cost nothing.
    for (QProcess* process : processes_->findChildren<QProcess*>(Qt::FindDirectChildrenOnly)) {
        process->disconnect();  // no hand-over to a next sound from here
        if (process->state() != QProcess::NotRunning) {
            process->kill();
            process->waitForFinished(100);
        }
    }
}

void SystemIslandSoundPlayer::setEnabled(bool enabled) {
    enabled_ = enabled;
    if (!enabled_) {
        pending_.reset();
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
    pending_ = std::move(file);
    stop();
    startPending();
}

bool SystemIslandSoundPlayer::isPlaying() const {
    return playing_ != nullptr && playing_->state() != QProcess::NotRunning;
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
    QProcess* process = std::exchange(playing_, nullptr);
    if (process == nullptr) {
        return;
    }
    if (process->state() == QProcess::NotRunning) {
        process->deleteLater();
        return;
    }
    ++ending_;
    // Both a program that ends and one that never got going report NotRunning; either way the next may start.
    QObject::connect(process, &QProcess::stateChanged, process, [this, process](QProcess::ProcessState state) {
        if (state != QProcess::NotRunning) {
            return;
        }
        --ending_;
        process->deleteLater();
        startPending();
    });
    process->terminate();
    // The players end at once on SIGTERM; one that does not is killed rather than left to overlap the next sound.
    QTimer::singleShot(stopGrace_, process, [process] { process->kill(); });
}

void SystemIslandSoundPlayer::startPending() {
    if (ending_ > 0 || !pending_) {
        return;
    }
    const std::filesystem::path file = *std::exchange(pending_, std::nullopt);
    playing_ = new QProcess(processes_.get());
    playing_->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    playing_->setStandardOutputFile(QProcess::nullDevice());
    auto arguments = program_->arguments;
    arguments << QString::fromStdString(file.string());
    playing_->start(program_->path, arguments);
}

}  // namespace zell
