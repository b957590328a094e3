// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/BlockKernelChoice.h"

#include "AudioEngine/Realtime/BlockKernelSelfTest.h"

namespace vello {

std::string BlockKernelChoice::complaint() const {
    if (refused.empty())
        return "";
    std::string names;
    for (const std::string& name : refused)
        names += (names.empty() ? "" : ", ") + name;
    return "Filters for " + names + " give wrong results on this processor; using " + chosen.name;
}

BlockKernelChoice chooseBlockKernel(std::span<const BlockKernelVariant> candidates) {
    BlockKernelChoice choice{.chosen = candidates.back(), .refused = {}};
    for (const BlockKernelVariant& candidate : candidates.first(candidates.size() - 1)) {
        if (passesSelfTest(candidate.kernel)) {
            choice.chosen = candidate;
            break;
        }
        choice.refused.emplace_back(candidate.name);
    }
    return choice;
}

const BlockKernelChoice& processBlockKernel() {
    static const BlockKernelChoice choice = chooseBlockKernel(blockKernels());
    return choice;
}

} // namespace vello
