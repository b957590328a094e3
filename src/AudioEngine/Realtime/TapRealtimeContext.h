// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/AudioSampleRingBuffer.h"
#include "AudioEngine/Realtime/BlockKernel.h"
#include "AudioEngine/Realtime/BlockKernelChoice.h"
#include "AudioEngine/Realtime/EQChainSnapshot.h"
#include "AudioEngine/Realtime/FilterRamp.h"
#include "AudioEngine/Realtime/IOFrameBridge.h"

#include <atomic>
#include <bit>
#include <cstdint>
#include <memory>
#include <vector>

namespace vello {

/// State shared by the control side and the I/O callback of one tap. Created and freed by the control side,
/// which keeps it until the callback is destroyed.
///
/// All atomics are relaxed, because they are independent, except snapshotPointer: it is stored with release
/// and loaded with acquire, so that the data thread sees the complete snapshot. The control side keeps a
/// replaced snapshot long enough for a callback that still uses it.
struct TapRealtimeContext {
    static constexpr std::size_t ringCapacity = std::size_t{1} << 20;

    struct Realtime;

    /// `canProcess` means that the tap's format is interleaved 32-bit float; otherwise the callback only
    /// copies. `channels` below 1 counts as 1. `initialVolume` is linear; the first buffer ramps from it.
    /// `ringMemory` has room for ringCapacity samples.
    TapRealtimeContext(bool canProcess, int channels, float initialVolume,
                       BlockKernel kernel = processBlockKernel().chosen.kernel,
                       SampleMemory ringMemory = SampleMemory(ringCapacity));
    /// Continues where the callback of another context has ended: its filters and its volume go on without a
    /// jump. `volume` is linear.
    TapRealtimeContext(std::shared_ptr<Realtime> continued, float volume,
                       SampleMemory ringMemory = SampleMemory(ringCapacity));

    std::size_t delayCapacityBytes() const noexcept { return rt->delays.size() * sizeof(CascadeState); }

    // Any thread.
    float level() const noexcept { return std::bit_cast<float>(levelBits.load(std::memory_order_relaxed)); }
    void setVolumeTarget(float volume) noexcept {
        volumeTargetBits.store(std::bit_cast<std::uint32_t>(volume), std::memory_order_relaxed);
    }

    const bool supportsEQ;
    const int channelCount;

    // Written by the control side.
    std::atomic<const EQChainSnapshot*> snapshotPointer{nullptr}; ///< not owned; null: no filters
    std::atomic<std::uint32_t> volumeTargetBits;                  ///< 32-bit float, linear

    // Written by the callback.
    std::atomic<std::uint32_t> levelBits{0};            ///< 32-bit float: peak of the last processed buffer
    std::atomic<std::uint64_t> lastCallbackHostTime{0}; ///< hostTime() at the start of the last callback
    /// hostTime() of the last callback whose processed peak was above 0 dBFS; 0: none yet. Readers look 30
    /// times a second and would miss most peaks in levelBits.
    std::atomic<std::uint64_t> lastClippedHostTime{0};
    std::atomic<std::uint32_t> zeroBufferStreak{0}; ///< processed buffers in a row with a peak of exactly 0
    std::atomic<std::uint32_t> hasCarriedSignal{0}; ///< 1 once a processed buffer peaked above 0.0001

    /// Processed samples, interleaved. Readable from any thread.
    AudioSampleRingBuffer ringBuffer;

    /// Accessed by the callback only, and by the callback of the next context that continues it.
    struct Realtime {
        Realtime(std::size_t channels, float initialVolume, BlockKernel blockKernel);

        /// Zeroes the filters' state.
        void resetFilters() noexcept VELLO_REALTIME;

        /// Filter state in double precision, one per channel.
        std::vector<CascadeState> delays;
        FilterRamp filters;
        std::vector<double> scratchMemory;
        double* scratch; ///< aligned, within scratchMemory
        IOFrameBridge ioBridge;
        float currentVolume; ///< end of the last buffer's ramp
        BlockKernel kernel;
    };
    const std::shared_ptr<Realtime> rt;
};

} // namespace vello
