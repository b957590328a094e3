// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/BiquadCascade.h"
#include "AudioEngine/Realtime/Realtime.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vello {

/// Longest stretch of frames that a kernel keeps in its scratch memory at once; longer blocks are cut.
inline constexpr std::size_t kScratchFrames = 1024;
/// Doubles of scratch memory that a kernel needs.
inline constexpr std::size_t kScratchSamples = kScratchFrames * 2;

/// One block of interleaved frames through the filters and the volume.
struct BlockJob {
    const float* source = nullptr;
    float* destination = nullptr; ///< may be `source`; otherwise the two do not overlap
    std::size_t frames = 0;
    std::size_t channelCount = 1;

    const BiquadSetup* setup = nullptr; ///< null: no filters
    CascadeState* states = nullptr;     ///< one a channel
    double* scratch = nullptr;          ///< kScratchSamples, aligned to 64 bytes

    /// Whether samples are multiplied at all; frame i by the 32-bit float gainStart + i * gainStep.
    bool appliesGain = false;
    float gainStart = 1.0F;
    float gainStep = 0.0F;
};

/// Runs the job and returns the bits of the largest absolute value among the samples written, as a 32-bit
/// float. As numbers those bits order like the values, with every NaN above infinity: one NaN anywhere makes
/// the result a NaN. Never throws. Data thread.
using BlockKernel = std::uint32_t (*)(const BlockJob& job);

/// The definition of what a kernel does, in plain code. Any number of channels.
std::uint32_t referenceBlockKernel(const BlockJob& job) noexcept VELLO_REALTIME;

/// A kernel and the instruction set that it is for.
struct BlockKernelVariant {
    const char* name;
    BlockKernel kernel;
};

/// Every kernel that this processor can run, the fastest first; the last is the reference. Each gives the
/// same bits however the signal is cut into blocks, and what the reference gives to within samplesAgree().
/// Not on the data thread.
std::vector<BlockKernelVariant> blockKernels();

} // namespace vello
