// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/AudioSampleRingBuffer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <numbers>
#include <random>
#include <vector>

namespace vello::test {

/// A tap's ring after `samples` have been written in blocks.
inline std::unique_ptr<AudioSampleRingBuffer> ringWith(const std::vector<float>& samples) {
    constexpr std::size_t capacity = std::size_t{1} << 20;
    constexpr std::size_t block = 960;
    auto ring = std::make_unique<AudioSampleRingBuffer>(capacity);
    for (std::size_t i = 0; i < samples.size(); i += block)
        ring->write(samples.data() + i, std::min(block, samples.size() - i));
    return ring;
}

inline std::vector<float> sine(std::size_t frames, double frequency, double sampleRate, double amplitude) {
    std::vector<float> samples(frames);
    for (std::size_t i = 0; i < frames; ++i)
        samples[i] = static_cast<float>(
            amplitude * std::sin(2 * std::numbers::pi * frequency * static_cast<double>(i) / sampleRate));
    return samples;
}

inline std::vector<float> stereo(const std::vector<float>& left, const std::vector<float>& right) {
    std::vector<float> samples;
    for (std::size_t i = 0; i < left.size(); ++i) {
        samples.push_back(left[i]);
        samples.push_back(right[i]);
    }
    return samples;
}

inline std::vector<float> whiteNoise(std::size_t count, float amplitude, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> distribution(-amplitude, amplitude);
    std::vector<float> samples(count);
    std::ranges::generate(samples, [&] { return distribution(random); });
    return samples;
}

/// One-frame clicks every `period` frames, starting at `firstFrame`.
inline std::vector<float> clicks(std::size_t frames, double period, std::size_t firstFrame, float amplitude) {
    std::vector<float> samples(frames);
    for (double at = static_cast<double>(firstFrame); at < static_cast<double>(frames); at += period)
        samples[static_cast<std::size_t>(at)] = amplitude;
    return samples;
}

} // namespace vello::test
