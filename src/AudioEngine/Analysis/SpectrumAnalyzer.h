// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/AudioSampleRingBuffer.h"
#include "Models/EQSettings.h"

#include <array>
#include <memory>
#include <optional>

namespace vello {

/// The spectrum of a tap's newest sound in the bands of the equalizer, for the eye. Main thread only, one
/// call at a time: the working memory is taken once, with the object.
class SpectrumAnalyzer {
public:
    static constexpr int frames = 2048; ///< of sound in one analysis

    /// One level for each band of EQSettings::bandFrequencies, 0 to 1: 1 stands for a mean power of 0 dB or
    /// more, 0 for -50 dB or less, linear in dB between. Power is the square of a transform that is twice the
    /// plain one, so a sine reaches 1 at about -51 dB of full scale already, and 0 at about -101 dB.
    using Levels = std::array<float, EQSettings::bandCount>;

    SpectrumAnalyzer();
    ~SpectrumAnalyzer();
    SpectrumAnalyzer(const SpectrumAnalyzer&) = delete;
    SpectrumAnalyzer& operator=(const SpectrumAnalyzer&) = delete;

    /// Levels of the first channel's newest frames. `sampleRate` in Hz, `channelCount` interleaved channels.
    /// Nothing when either is not positive or the ring never held so many frames. Ends the process when
    /// `sampleRate` is not a number or so small that no bin of the transform has a number. Does not
    /// allocate.
    std::optional<Levels> bandMagnitudes(const AudioSampleRingBuffer& ring, double sampleRate,
                                         int channelCount);

private:
    struct Workspace;
    std::unique_ptr<Workspace> workspace_;
};

} // namespace vello
