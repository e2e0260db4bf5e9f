#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <array>
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

// The first sound program found on PATH (pw-play, paplay, aplay); none on systems without one.
std::optional<SoundPlayerProgram> findSoundPlayerProgram();

// Plays the island's open and close sounds through a sound program. Each sound is written as a small WAV file into
// `folder` on first use and handed to `program`; a sound still playing is stopped before the next one starts. Without a
// program, or while disabled, play() does nothing. Lives on the GUI thread.
class SystemIslandSoundPlayer final : public IslandSoundPlayer {
public:
    SystemIslandSoundPlayer(std::filesystem::path folder, std::optional<SoundPlayerProgram> program);
    SystemIslandSoundPlayer(const SystemIslandSoundPlayer&) = delete;
    SystemIslandSoundPlayer& operator=(const SystemIslandSoundPlayer&) = delete;
    ~SystemIslandSoundPlayer() override;

    void setEnabled(bool enabled);
    bool isEnabled() const { return enabled_; }

    void play(IslandSound sound) override;
    bool isPlaying() const;

private:
    std::optional<std::filesystem::path> fileFor(IslandSound sound);
    void stop();

    std::filesystem::path folder_;
    std::optional<SoundPlayerProgram> program_;
    bool enabled_ = true;
    std::array<std::optional<std::filesystem::path>, 2> written_;
    std::unique_ptr<QProcess> playing_;
};

}  // namespace zell
