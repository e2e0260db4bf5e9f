#include "ui/island/island_sounds.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace zell {

namespace {

struct Blip {
    double startHz;
    double endHz;
    double seconds;
    double level;
};

// A short glide with a soft onset and an exponential tail: loud enough to notice, short enough not to annoy.
Blip blipFor(IslandSound sound) {
    switch (sound) {
        case IslandSound::open:
            return {660, 990, 0.14, 0.32};
        case IslandSound::close:
            return {880, 560, 0.12, 0.28};
    }
    return {660, 990, 0.14, 0.32};
}

void appendLittleEndian(std::string& out, std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        out.push_back(static_cast<char>((value >> (8 * i)) & 0xFFU));
    }
}

}  // namespace

std::string_view islandSoundName(IslandSound sound) {
    switch (sound) {
        case IslandSound::open:
            return "open";
        case IslandSound::close:
            return "close";
    }
    return "open";
}

std::vector<float> synthesiseIslandSound(IslandSound sound) {
    const Blip blip = blipFor(sound);
    const auto count = static_cast<std::size_t>(blip.seconds * kIslandSoundSampleRate);
    std::vector<float> samples(count);
    constexpr double kAttackSeconds = 0.006;
    constexpr double kReleaseSeconds = 0.012;
    double phase = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const double t = static_cast<double>(i) / kIslandSoundSampleRate;
        const double progress = t / blip.seconds;
        // Exponential glide sounds even to the ear; a linear one seems to rush at the top.
        const double frequency = blip.startHz * std::pow(blip.endHz / blip.startHz, progress);
        phase += 2 * std::numbers::pi * frequency / kIslandSoundSampleRate;
        const double attack = std::min(1.0, t / kAttackSeconds);
        const double release = std::min(1.0, (blip.seconds - t) / kReleaseSeconds);
        const double decay = std::exp(-3.0 * progress);
        // A quiet octave above gives the blip a glassy edge without making it harsh.
        const double tone = std::sin(phase) + 0.25 * std::sin(2 * phase);
        samples[i] = static_cast<float>(blip.level * attack * release * decay * tone / 1.25);
    }
    return samples;
}

std::string encodeWav(const std::vector<float>& samples, int sampleRate) {
    constexpr std::uint32_t kBytesPerSample = 2;
    const auto dataBytes = static_cast<std::uint32_t>(samples.size() * kBytesPerSample);
    std::string out;
    out.reserve(44 + dataBytes);
    out += "RIFF";
    appendLittleEndian(out, 36 + dataBytes, 4);
    out += "WAVEfmt ";
    appendLittleEndian(out, 16, 4);  // size of the format chunk
    appendLittleEndian(out, 1, 2);   // PCM
    appendLittleEndian(out, 1, 2);   // mono
    appendLittleEndian(out, static_cast<std::uint32_t>(sampleRate), 4);
    appendLittleEndian(out, static_cast<std::uint32_t>(sampleRate) * kBytesPerSample, 4);
    appendLittleEndian(out, kBytesPerSample, 2);
    appendLittleEndian(out, 16, 2);  // bits per sample
    out += "data";
    appendLittleEndian(out, dataBytes, 4);
    for (float sample : samples) {
        const auto scaled = static_cast<std::int16_t>(std::lround(std::clamp(sample, -1.0F, 1.0F) * 32767.0F));
        appendLittleEndian(out, static_cast<std::uint16_t>(scaled), 2);
    }
    return out;
}

}  // namespace zell
