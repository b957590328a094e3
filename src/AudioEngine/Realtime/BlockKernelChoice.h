// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/BlockKernel.h"

#include <span>
#include <string>
#include <vector>

namespace vello {

/// The kernel that the taps use.
struct BlockKernelChoice {
    BlockKernelVariant chosen;
    std::vector<std::string> refused; ///< names of faster kernels that failed the self-test; normally empty

    /// One line for the log that names the refused kernels and the chosen one; empty if none was refused.
    std::string complaint() const;
};

/// Chooses the first candidate that matches the reference on this processor. The last candidate is the
/// reference and needs no test. Requires at least one candidate.
BlockKernelChoice chooseBlockKernel(std::span<const BlockKernelVariant> candidates);

/// The choice among blockKernels(), made in the first call and then cached. Any thread except the data
/// thread.
const BlockKernelChoice& processBlockKernel();

} // namespace vello
