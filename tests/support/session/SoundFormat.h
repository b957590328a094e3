// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <spa/param/audio/raw.h>

namespace vello::session {

/// How a player writes one sample: 32-bit float, 16 bits, or 24 bits in three bytes, little endian.
enum class SampleFormat { f32, s16, s24 };

inline constexpr int mostChannels = 8;

/// "f32", "s16" or "s24".
std::string name(SampleFormat format);
/// Throws std::invalid_argument when no format has that name.
SampleFormat sampleFormatNamed(const std::string& name);
std::size_t bytesOfSample(SampleFormat format);
/// Writes a value in [-1, 1) as bytesOfSample() bytes; what lies outside is clipped, but for f32.
void writeSample(SampleFormat format, float value, std::uint8_t* place) noexcept;

/// The usual positions of 1 to mostChannels channels, in words: "MONO", or as many as are wanted of
/// "FL FR FC LFE RL RR SL SR".
std::string positionNames(int channels);
/// Interleaved sound of channels in these positions. A rate of 0 Hz stands for any.
spa_audio_info_raw soundFormat(SampleFormat format, int channels, int sampleRate = 0);

} // namespace vello::session
