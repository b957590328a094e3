// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Analysis/RunningEnergy.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <span>

namespace vello {

namespace {

/// A divisor of the usual quantums and of 10 ms at 48 kHz and its multiples: there, a hop consists of whole
/// blocks, and nothing is read from the ring a second time.
constexpr std::size_t kFramesPerBlock = 32;

/// Several independent sums: with a single one, the latency of each addition would cost more than the memory
/// access.
double sumOfSquaresIn(std::span<const float> samples) {
    constexpr std::size_t lanes = 8;
    std::array<double, lanes> sums{};
    std::size_t i = 0;
    for (; i + lanes <= samples.size(); i += lanes)
#pragma GCC unroll 8 // keeps the sums in registers
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            const auto sample = static_cast<double>(samples[i + lane]);
            sums[lane] += sample * sample;
        }
    for (; i < samples.size(); ++i)
        sums[0] += static_cast<double>(samples[i]) * static_cast<double>(samples[i]);
    return std::accumulate(sums.begin(), sums.end(), 0.0);
}

double energyInRing(const AudioSampleRingBuffer& ring, std::size_t first, std::size_t end) {
    const auto samples = first < end ? ring.range(first, end - first) : std::nullopt;
    return samples ? sumOfSquares(*samples) : 0.0;
}

} // namespace

double sumOfSquares(const AudioSampleRingBuffer::Samples& samples) {
    return sumOfSquaresIn(samples.older) + sumOfSquaresIn(samples.newer);
}

RunningEnergy::RunningEnergy(std::size_t reach, std::size_t channelCount)
    : reach_(reach), blockSize_(kFramesPerBlock * channelCount), blocks_(reach / blockSize_ + 1) {}

void RunningEnergy::update(const AudioSampleRingBuffer& ring) {
    writeCursor_ = ring.writeCursor();
    const std::size_t end = writeCursor_ / blockSize_;
    const std::size_t oldest = end - std::min(end, blocks_.size());
    for (nextBlock_ = std::max(nextBlock_, oldest); nextBlock_ < end; ++nextBlock_)
        blocks_[nextBlock_ % blocks_.size()] =
            energyInRing(ring, nextBlock_ * blockSize_, (nextBlock_ + 1) * blockSize_);
}

double RunningEnergy::sum(const AudioSampleRingBuffer& ring, std::size_t first, std::size_t count) const {
    const std::size_t end = first + count;
    const std::size_t firstBlock = (first + blockSize_ - 1) / blockSize_;
    const std::size_t endBlock = end / blockSize_;
    if (firstBlock >= endBlock)
        return energyInRing(ring, first, end);
    double energy = energyInRing(ring, first, firstBlock * blockSize_);
    for (std::size_t block = firstBlock; block < endBlock; ++block)
        energy += blocks_[block % blocks_.size()];
    return energy + energyInRing(ring, endBlock * blockSize_, end);
}

} // namespace vello
