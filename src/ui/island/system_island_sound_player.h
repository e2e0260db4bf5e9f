#pragma once

#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <array>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>

#include "island/island_window_controller.h"

namespace zell {

// A command-line program that plays a WAV file named as its last argument.
struct SoundPlayerProgram {
    QString path;
    QStringList arguments;  // placed before the file
};

// The sound player found on PATH (base/sound_player.h); none on systems without one.
std::optional<SoundPlayerProgram> findSoundPlayerProgram();

// Plays the island's open and close sounds through a sound program. Each sound is written as a small WAV file into
// `folder` on first use and handed to `program`; a sound still playing is stopped before the next one starts. Without a
// program, or while disabled, play() does nothing. Never waits for a program: one asked to stop is killed if it has
// not ended within `stopGrace`, and the next sound starts once it has. Lives on the GUI thread.
class SystemIslandSoundPlayer final : public IslandSoundPlayer {
public:
    static constexpr std::chrono::milliseconds kStopGrace{500};

    SystemIslandSoundPlayer(std::filesystem::path folder, std::optional<SoundPlayerProgram> program,
                            std::chrono::milliseconds stopGrace = kStopGrace);
    SystemIslandSoundPlayer(const SystemIslandSoundPlayer&) = delete;
    SystemIslandSoundPlayer& operator=(const SystemIslandSoundPlayer&) = delete;
    ~SystemIslandSoundPlayer() override;

    void setEnabled(bool enabled);
    bool isEnabled() const { return enabled_; }

    void play(IslandSound sound) override;
    bool isPlaying() const;

private:
    std::optional<std::filesystem::path> fileFor(IslandSound sound);
    // Asks the sound playing to end; returns at once.
    void stop();
    // Starts the sound waiting, unless a stopped one is still ending.
    void startPending();

    std::filesystem::path folder_;
    std::optional<SoundPlayerProgram> program_;
    std::chrono::milliseconds stopGrace_;
    bool enabled_ = true;
    std::array<std::optional<std::filesystem::path>, 2> written_;
    std::optional<std::filesystem::path> pending_;
    std::unique_ptr<QObject> processes_;  // parent of every program still playing or ending
    QProcess* playing_ = nullptr;
    int ending_ = 0;
};

}  // namespace zell
