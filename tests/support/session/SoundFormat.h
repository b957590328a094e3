// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <spa/param/audio/raw.h>

namespace vello::session {

/// Format of a player's samples: 32-bit float, 16 bits, or 24 bits in three bytes, little endian.
enum class SampleFormat { f32, s16, s24 };

inline constexpr int kMostChannels = 8;

/// "f32", "s16" or "s24".
std::string name(SampleFormat format);
/// Throws std::invalid_argument for an unknown name.
SampleFormat sampleFormatNamed(const std::string& name);
std::size_t bytesOfSample(SampleFormat format);
/// Writes a value in [-1, 1) as bytesOfSample() bytes; values outside are clipped, except for f32.
void writeSample(SampleFormat format, float value, std::uint8_t* place) noexcept;

/// The usual positions of 1 to kMostChannels channels as text: "MONO", or the first `channels` of "FL FR FC
/// LFE RL RR SL SR".
std::string positionNames(int channels);
/// Interleaved sound of channels in these positions. A rate of 0 Hz matches any rate.
spa_audio_info_raw soundFormat(SampleFormat format, int channels, int sampleRate = 0);

} // namespace vello::session
