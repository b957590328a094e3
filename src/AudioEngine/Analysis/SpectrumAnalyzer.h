// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/AudioSampleRingBuffer.h"
#include "Models/EQSettings.h"

#include <array>
#include <memory>
#include <optional>

namespace vello {

/// Computes the spectrum of a tap's newest samples in the bands of the equalizer, for display. Main thread
/// only. Working memory is allocated once, in the constructor.
class SpectrumAnalyzer {
public:
    static constexpr int frames = 2048; ///< per analysis

    /// One level per band of EQSettings::bandFrequencies, 0 to 1: 1 is a mean power of 0 dB or more, 0 is -50
    /// dB or less, linear in dB in between. Power is the squared magnitude of an unnormalized transform
    /// scaled by 2, so a sine reaches 1 at about -51 dBFS and 0 at about -101 dBFS.
    using Levels = std::array<float, EQSettings::bandCount>;

    SpectrumAnalyzer();
    ~SpectrumAnalyzer();
    SpectrumAnalyzer(const SpectrumAnalyzer&) = delete;
    SpectrumAnalyzer& operator=(const SpectrumAnalyzer&) = delete;

    /// Levels of the newest frames of the first channel. `sampleRate` in Hz, `channelCount` interleaved
    /// channels. Returns nullopt when either is not positive or fewer than `frames` frames have been written.
    /// Aborts the process when `sampleRate` is NaN or so small that the bin numbers overflow. Does not
    /// allocate.
    std::optional<Levels> bandMagnitudes(const AudioSampleRingBuffer& ring, double sampleRate,
                                         int channelCount);

private:
    struct Workspace;
    std::unique_ptr<Workspace> workspace_;
};

} // namespace vello
