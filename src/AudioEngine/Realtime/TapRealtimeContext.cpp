// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/TapRealtimeContext.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace vello {

namespace {

constexpr std::size_t kScratchAlignment = 64;

double* alignedWithin(std::vector<double>& memory) {
    void* start = memory.data();
    std::size_t bytes = memory.size() * sizeof(double);
    return static_cast<double*>(
        std::align(kScratchAlignment, kScratchSamples * sizeof(double), start, bytes));
}

} // namespace

TapRealtimeContext::TapRealtimeContext(bool canProcess, int channels, float initialVolume, BlockKernel kernel,
                                       SampleMemory ringMemory)
    : supportsEQ(canProcess), channelCount(std::max(channels, 1)),
      volumeTargetBits(std::bit_cast<std::uint32_t>(initialVolume)), ringBuffer(std::move(ringMemory)),
      rt(std::make_shared<Realtime>(static_cast<std::size_t>(channelCount), initialVolume, kernel)) {}

TapRealtimeContext::TapRealtimeContext(std::shared_ptr<Realtime> continued, float volume,
                                       SampleMemory ringMemory)
    : supportsEQ(true), channelCount(static_cast<int>(continued->ioBridge.channelCount())),
      volumeTargetBits(std::bit_cast<std::uint32_t>(volume)), ringBuffer(std::move(ringMemory)),
      rt(std::move(continued)) {}

TapRealtimeContext::Realtime::Realtime(std::size_t channels, float initialVolume, BlockKernel blockKernel)
    : delays(channels), scratchMemory(kScratchSamples + kScratchAlignment / sizeof(double)),
      scratch(alignedWithin(scratchMemory)), ioBridge(channels), currentVolume(initialVolume),
      kernel(blockKernel) {}

void TapRealtimeContext::Realtime::resetFilters() noexcept VELLO_REALTIME {
    std::fill(delays.begin(), delays.end(), CascadeState{});
}

} // namespace vello
