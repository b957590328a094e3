// SPDX-License-Identifier: Apache-2.0
//
// Replaces Highway's library, which is not available for the emulated processor. That processor has every
// instruction set with a kernel.
#include "AudioEngine/Realtime/BlockKernelTargets.h"

#include <hwy/targets.h>

namespace hwy {

std::int64_t SupportedTargets() {
    return HWY_TARGETS;
}

} // namespace hwy
