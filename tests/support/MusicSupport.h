// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/AudioSampleRingBuffer.h"

#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

/// Sound for a tap's ring buffer: interleaved stereo at 48 kHz, written in blocks as a callback does.
namespace vello {

inline constexpr std::size_t kRingRate = 48000;

inline void writeStereo(AudioSampleRingBuffer& ring, const std::vector<float>& mono) {
    constexpr std::size_t blockFrames = 480;
    for (std::size_t begin = 0; begin < mono.size(); begin += blockFrames) {
        std::vector<float> block;
        for (std::size_t i = begin; i < std::min(begin + blockFrames, mono.size()); ++i)
            block.insert(block.end(), {mono[i], mono[i]});
        ring.write(block.data(), block.size());
    }
}

inline void writeSilence(AudioSampleRingBuffer& ring, std::size_t seconds) {
    writeStereo(ring, std::vector<float>(seconds * kRingRate));
}

/// A short click every half second.
inline void writeClicksAt120(AudioSampleRingBuffer& ring, std::size_t seconds) {
    std::vector<float> mono(seconds * kRingRate);
    for (std::size_t i = 0; i < mono.size(); ++i)
        mono[i] = i % (kRingRate / 2) < kRingRate / 100 ? 0.5F : 0.0F;
    writeStereo(ring, mono);
}

inline void writeSine(AudioSampleRingBuffer& ring, double frequency, double amplitude) {
    std::vector<float> mono(kRingRate);
    for (std::size_t i = 0; i < mono.size(); ++i)
        mono[i] = static_cast<float>(
            amplitude * std::sin(2 * std::numbers::pi * frequency * static_cast<double>(i) / kRingRate));
    writeStereo(ring, mono);
}

} // namespace vello
