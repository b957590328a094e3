// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/BlockKernel.h"

#include <algorithm>

namespace vello::test {

/// Writes silence.
inline std::uint32_t silentKernel(const BlockJob& job) {
    std::fill_n(job.destination, job.frames * job.channelCount, 0.0F);
    return 0;
}

/// The reference, with a modified job if `isWrong`.
template <class Change> std::uint32_t changedJob(const BlockJob& job, bool isWrong, Change change) {
    BlockJob changed = job;
    if (isWrong)
        change(changed);
    return referenceBlockKernel(changed);
}

/// The reference, with a small error in one sample if `isWrong`.
inline std::uint32_t changedSample(const BlockJob& job, bool isWrong, std::size_t index) {
    const std::uint32_t peak = referenceBlockKernel(job);
    if (isWrong)
        job.destination[index] += 1e-5F;
    return peak;
}

/// Kernels with one error each.
inline const BlockKernelVariant kBrokenKernels[] = {
    {"Silent", silentKernel},
    {"WrongInMono", [](const BlockJob& job) { return changedSample(job, job.channelCount == 1, 0); }},
    {"WrongInStereo", [](const BlockJob& job) { return changedSample(job, job.channelCount == 2, 1); }},
    {"WrongInOneFrame", [](const BlockJob& job) { return changedSample(job, job.frames == 1, 0); }},
    {"WrongInShortBlocks", [](const BlockJob& job) { return changedSample(job, job.frames == 7, 6); }},
    {"WrongInBlocksOfMiddleLength",
     [](const BlockJob& job) { return changedSample(job, job.frames == 23, 22); }},
    {"WrongAtTheEndOfLongBlocks",
     [](const BlockJob& job) {
         return changedSample(job, job.frames > 60, job.frames * job.channelCount - 1);
     }},
    {"NoFilters",
     [](const BlockJob& job) { return changedJob(job, true, [](BlockJob& j) { j.setup = nullptr; }); }},
    {"NoVolume",
     [](const BlockJob& job) { return changedJob(job, true, [](BlockJob& j) { j.appliesGain = false; }); }},
    {"NoVolumeWithoutFilters",
     [](const BlockJob& job) {
         return changedJob(job, job.setup == nullptr, [](BlockJob& j) { j.appliesGain = false; });
     }},
    {"VolumeStandsStill",
     [](const BlockJob& job) { return changedJob(job, true, [](BlockJob& j) { j.gainStep = 0.0F; }); }},
    {"Forgets",
     [](const BlockJob& job) {
         std::fill_n(job.states, job.channelCount, CascadeState{});
         return referenceBlockKernel(job);
     }},
    {"KeepsWrongMemory",
     [](const BlockJob& job) {
         const std::uint32_t peak = referenceBlockKernel(job);
         job.states[job.channelCount - 1].differences[1][7] += 1e-9;
         return peak;
     }},
    {"WrongPeak", [](const BlockJob& job) { return referenceBlockKernel(job) + 2; }},
};

} // namespace vello::test
