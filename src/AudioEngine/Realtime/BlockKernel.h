// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/BiquadCascade.h"
#include "AudioEngine/Realtime/Realtime.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vello {

/// Maximum number of frames in a kernel's scratch memory; longer blocks are split.
inline constexpr std::size_t kScratchFrames = 1024;
/// Size of a kernel's scratch memory in doubles.
inline constexpr std::size_t kScratchSamples = kScratchFrames * 2;

/// One block of interleaved frames to be filtered and scaled.
struct BlockJob {
    const float* source = nullptr;
    float* destination = nullptr; ///< may equal `source`, but must not overlap it otherwise
    std::size_t frames = 0;
    std::size_t channelCount = 1;

    const BiquadSetup* setup = nullptr; ///< null: no filters
    CascadeState* states = nullptr;     ///< one per channel
    double* scratch = nullptr;          ///< kScratchSamples doubles, aligned to 64 bytes

    /// Whether to apply a gain. The gain of frame i is gainStart + i * gainStep, in 32-bit float arithmetic.
    bool appliesGain = false;
    float gainStart = 1.0F;
    float gainStep = 0.0F;
};

/// Runs the job and returns the bits of the peak, the largest absolute value of the written samples, as a
/// 32-bit float. As integers, these bits have the same order as the values, with every NaN above infinity, so
/// a single NaN makes the result a NaN. Never throws. Data thread.
using BlockKernel = std::uint32_t (*)(const BlockJob& job) VELLO_REALTIME;

/// The scalar reference implementation. Any number of channels.
std::uint32_t referenceBlockKernel(const BlockJob& job) noexcept VELLO_REALTIME;

/// A kernel and the name of its instruction set.
struct BlockKernelVariant {
    const char* name;
    BlockKernel kernel;
};

/// Every kernel that this processor supports, the fastest first and the reference last. The result of a
/// kernel does not depend on the block size, bit for bit, and matches the reference as defined by
/// samplesAgree() before the gain, which can double the difference. Not on the data thread.
std::vector<BlockKernelVariant> blockKernels();

} // namespace vello
