// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/BlockKernel.h"

#include <span>
#include <string>
#include <vector>

namespace vello {

/// Which kernel the taps use.
struct BlockKernelChoice {
    BlockKernelVariant chosen;
    std::vector<std::string>
        refused; ///< by name: the faster ones that failed their self-test; empty as a rule

    /// One line for the log that says what was refused and what is used instead; empty where nothing was
    /// refused.
    std::string complaint() const;
};

/// The first of the candidates that agrees with the reference on this processor; the last of them, the
/// reference itself, where no other does. At least one candidate.
BlockKernelChoice chooseBlockKernel(std::span<const BlockKernelVariant> candidates);

/// The choice among blockKernels(), made at the first call of the process; any further call only returns it.
/// Any thread but the data thread.
const BlockKernelChoice& processBlockKernel();

} // namespace vello
