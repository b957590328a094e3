// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/AudioSampleRingBuffer.h"

#include <cstddef>
#include <vector>

namespace vello {

/// Sum of the squares of the samples, in no particular order of additions.
double sumOfSquares(const AudioSampleRingBuffer::Samples& samples);

/// The energy of the newest samples of one ring, for any range of them. Each sample is squared once, soon
/// after it was written, so the cost depends on how many samples arrive and not on the length of the ranges.
/// One thread at a time; the ring's writer may run meanwhile.
class RunningEnergy {
public:
    /// `reach` is how many of the newest samples the ranges may cover, at most the ring's capacity;
    /// `channelCount` interleaved channels, at least 1.
    RunningEnergy(std::size_t reach, std::size_t channelCount);

    std::size_t reach() const { return reach_; }
    /// Total number of samples written at the last update.
    std::size_t writeCursor() const { return writeCursor_; }

    /// Sums what was written since the last update, or as much of it as `reach` covers. The ring must always
    /// be the same one.
    void update(const AudioSampleRingBuffer& ring);
    /// Sum of the squares of `count` samples from number `first` on, counted as in
    /// AudioSampleRingBuffer::range(). They must be among the newest `reach` samples of the last update.
    /// Reads only the two ends of the range from the ring.
    double sum(const AudioSampleRingBuffer& ring, std::size_t first, std::size_t count) const;

private:
    std::size_t reach_;
    std::size_t blockSize_;      ///< samples
    std::vector<double> blocks_; ///< energy of block n at n modulo their number
    std::size_t nextBlock_ = 0;  ///< the first one that is not summed yet
    std::size_t writeCursor_ = 0;
};

} // namespace vello
