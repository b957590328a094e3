// SPDX-License-Identifier: Apache-2.0
//
// Stands for Highway's library where there is none for the emulated processor: that one has every instruction
// set that there is a kernel for.
#include "AudioEngine/Realtime/BlockKernelTargets.h"

#include <hwy/targets.h>

namespace hwy {

std::int64_t SupportedTargets() {
    return HWY_TARGETS;
}

} // namespace hwy
