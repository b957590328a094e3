// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/BlockKernel.h"

#include <algorithm>
#include <bit>

namespace vello {

std::uint32_t referenceBlockKernel(const BlockJob& job) noexcept VELLO_REALTIME {
    constexpr std::uint32_t magnitude = 0x7FFFFFFFU;
    std::uint32_t peak = 0;
    for (std::size_t frame = 0; frame < job.frames; ++frame) {
        const float gain = job.gainStart + static_cast<float>(frame) * job.gainStep;
        for (std::size_t channel = 0; channel < job.channelCount; ++channel) {
            const std::size_t index = frame * job.channelCount + channel;
            float sample = job.source[index];
            if (job.setup != nullptr)
                sample = static_cast<float>(processSample(*job.setup, job.states[channel], double{sample}));
            if (job.appliesGain)
                sample *= gain;
            job.destination[index] = sample;
            peak = std::max(peak, std::bit_cast<std::uint32_t>(sample) & magnitude);
        }
    }
    return peak;
}

} // namespace vello
