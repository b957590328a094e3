// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Analysis/RunningEnergy.h"
#include "AudioEngine/Realtime/AudioSampleRingBuffer.h"

#include <cstddef>
#include <optional>

namespace vello {

struct TempoEstimate {
    int beatsPerMinute = 0; ///< 60 to 194
    double confidence = 0;  ///< 0 to 1

    friend bool operator==(const TempoEstimate&, const TempoEstimate&) = default;
};

/// Estimates the tempo of a tap's newest 2 to 6 seconds of audio from the autocorrelation of its energy
/// rises. A tempo outside 60 to 194 BPM is reported as a multiple or a fraction of itself, or not at all.
/// Stateless. Main thread only.
class TempoAnalyzer {
public:
    /// `sampleRate` in Hz, `channelCount` interleaved channels; all channels are used. Returns nullopt when
    /// either is not positive, the ring holds less than 2 s, or the audio is too quiet or has no clear beat.
    /// Aborts the process when `sampleRate` is NaN or too large to count frames.
    std::optional<TempoEstimate> estimate(const AudioSampleRingBuffer& ring, double sampleRate,
                                          int channelCount) const;
    /// The estimate of the moment of the last update of `energy`, the running energy of `ring`, for a tap
    /// that is estimated again and again. Equals the one above, but for the rounding of sums.
    std::optional<TempoEstimate> estimate(const AudioSampleRingBuffer& ring, const RunningEnergy& energy,
                                          double sampleRate, int channelCount) const;
    /// How many of the newest samples an estimate uses at most: the reach that its running energy needs. 0
    /// where there is never an estimate.
    static std::size_t longestSound(const AudioSampleRingBuffer& ring, double sampleRate, int channelCount);
};

} // namespace vello
