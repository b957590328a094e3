// SPDX-License-Identifier: Apache-2.0
#include "SoundFormat.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <stdexcept>

namespace vello::session {
namespace {

struct Encoding {
    SampleFormat format;
    const char* name;
    spa_audio_format spaFormat;
    std::size_t bytes;
};

constexpr std::array kEncodings = {
    Encoding{SampleFormat::f32, "f32", SPA_AUDIO_FORMAT_F32_LE, 4},
    Encoding{SampleFormat::s16, "s16", SPA_AUDIO_FORMAT_S16_LE, 2},
    Encoding{SampleFormat::s24, "s24", SPA_AUDIO_FORMAT_S24_LE, 3},
};

struct Position {
    const char* name;
    spa_audio_channel channel;
};

constexpr std::array<Position, kMostChannels> kPositions = {{
    {"FL", SPA_AUDIO_CHANNEL_FL},
    {"FR", SPA_AUDIO_CHANNEL_FR},
    {"FC", SPA_AUDIO_CHANNEL_FC},
    {"LFE", SPA_AUDIO_CHANNEL_LFE},
    {"RL", SPA_AUDIO_CHANNEL_RL},
    {"RR", SPA_AUDIO_CHANNEL_RR},
    {"SL", SPA_AUDIO_CHANNEL_SL},
    {"SR", SPA_AUDIO_CHANNEL_SR},
}};

const Encoding& encoding(SampleFormat format) {
    return kEncodings[static_cast<std::size_t>(format)];
}

Position positionOf(int channel, int channels) {
    return channels == 1 ? Position{"MONO", SPA_AUDIO_CHANNEL_MONO}
                         : kPositions.at(static_cast<std::size_t>(channel));
}

/// Writes the lowest `bytes` of the number, little endian.
void writeNumber(std::int32_t number, std::size_t bytes, std::uint8_t* place) noexcept {
    for (std::size_t i = 0; i < bytes; ++i)
        place[i] = static_cast<std::uint8_t>(static_cast<std::uint32_t>(number) >> (8 * i));
}

} // namespace

std::string name(SampleFormat format) {
    return encoding(format).name;
}

SampleFormat sampleFormatNamed(const std::string& name) {
    const auto found = std::ranges::find(kEncodings, name, &Encoding::name);
    if (found == kEncodings.end())
        throw std::invalid_argument("no sample format " + name);
    return found->format;
}

std::size_t bytesOfSample(SampleFormat format) {
    return encoding(format).bytes;
}

void writeSample(SampleFormat format, float value, std::uint8_t* place) noexcept {
    if (format == SampleFormat::f32) {
        std::memcpy(place, &value, sizeof value);
        return;
    }
    const auto bytes = encoding(format).bytes;
    const double whole = std::ldexp(1.0, static_cast<int>(8 * bytes) - 1);
    const double scaled = std::clamp(std::round(static_cast<double>(value) * whole), -whole, whole - 1);
    writeNumber(static_cast<std::int32_t>(scaled), bytes, place);
}

std::string positionNames(int channels) {
    std::string result;
    for (int channel = 0; channel < channels; ++channel)
        result += std::string(channel == 0 ? "" : " ") + positionOf(channel, channels).name;
    return result;
}

spa_audio_info_raw soundFormat(SampleFormat format, int channels, int sampleRate) {
    spa_audio_info_raw result{};
    result.format = encoding(format).spaFormat;
    result.rate = static_cast<std::uint32_t>(sampleRate);
    result.channels = static_cast<std::uint32_t>(channels);
    for (int channel = 0; channel < channels; ++channel)
        result.position[channel] = static_cast<std::uint32_t>(positionOf(channel, channels).channel);
    return result;
}

} // namespace vello::session
