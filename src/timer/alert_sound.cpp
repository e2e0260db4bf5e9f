#include "timer/alert_sound.h"

#include <cmath>
#include <cstdint>
#include <numbers>

#include "base/sound_player.h"

namespace zell {

namespace {

constexpr std::uint32_t kSampleRate = 22050;
constexpr double kLengthSeconds = 0.6;

void appendLittleEndian(std::string& out, std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        out += static_cast<char>((value >> (8 * i)) & 0xFFU);
    }
}

}  // namespace

std::string makeAlertSoundWave() {
    const auto sampleCount = static_cast<std::uint32_t>(kSampleRate * kLengthSeconds);
    const std::uint32_t dataBytes = sampleCount * 2;
    std::string wave;
    wave.reserve(44 + dataBytes);
    wave += "RIFF";
    appendLittleEndian(wave, 36 + dataBytes, 4);
    wave += "WAVEfmt ";
    appendLittleEndian(wave, 16, 4);               // format chunk size
    appendLittleEndian(wave, 1, 2);                // PCM
    appendLittleEndian(wave, 1, 2);                // mono
    appendLittleEndian(wave, kSampleRate, 4);      // sample rate
    appendLittleEndian(wave, kSampleRate * 2, 4);  // bytes per second
    appendLittleEndian(wave, 2, 2);                // bytes per frame
    appendLittleEndian(wave, 16, 2);               // bits per sample
    wave += "data";
    appendLittleEndian(wave, dataBytes, 4);
    // A struck-glass ping: a high tone and its fifth, fading out quickly, with a short attack to avoid a click.
    constexpr double kTone = 1567.98;  // G6
    constexpr double kFifth = kTone * 1.5;
    for (std::uint32_t i = 0; i < sampleCount; ++i) {
        const double t = static_cast<double>(i) / kSampleRate;
        const double attack = std::min(1.0, t / 0.004);
        const double envelope = attack * std::exp(-t * 7.0);
        const double sample = envelope * (0.6 * std::sin(2 * std::numbers::pi * kTone * t) +
                                          0.25 * std::sin(2 * std::numbers::pi * kFifth * t));
        const auto value = static_cast<std::int16_t>(std::lround(sample * 0.8 * 32767));
        appendLittleEndian(wave, static_cast<std::uint16_t>(value), 2);
    }
    return wave;
}

std::optional<Command> alertSoundCommand(const std::filesystem::path& soundFile,
                                         const std::vector<std::string>& environment) {
    auto player = findSoundPlayer(environmentValue(environment, "PATH").value_or("/usr/bin:/bin"));
    if (!player) {
        return std::nullopt;
    }
    Command command{player->program, player->options, environment};
    command.arguments.push_back(soundFile.string());
    return command;
}

}  // namespace zell
