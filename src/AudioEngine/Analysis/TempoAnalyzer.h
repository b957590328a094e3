// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/AudioSampleRingBuffer.h"

#include <optional>

namespace vello {

struct TempoEstimate {
    int beatsPerMinute = 0; ///< 60 to 194
    double confidence = 0;  ///< 0 to 1

    friend bool operator==(const TempoEstimate&, const TempoEstimate&) = default;
};

/// Finds the beat in a tap's newest 2 to 6 seconds of sound: where the energy rises, and after which time it
/// rises again. A beat outside of 60 to 194 a minute shows as a multiple or a fraction of itself, or not at
/// all. Has no memory. Main thread only.
class TempoAnalyzer {
public:
    /// `sampleRate` in Hz, `channelCount` interleaved channels, all of which count. Nothing when either is
    /// not positive, the ring holds less than 2 s, or the sound is too quiet or repeats nothing clearly. Ends
    /// the process when `sampleRate` is not a number or too large to count frames.
    std::optional<TempoEstimate> estimate(const AudioSampleRingBuffer& ring, double sampleRate,
                                          int channelCount) const;
};

} // namespace vello
