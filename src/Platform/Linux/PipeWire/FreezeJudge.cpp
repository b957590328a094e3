// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/PipeWire/FreezeJudge.h"

#include <algorithm>

namespace vello {

bool FreezeJudge::isFrozen(Instant now, const Heartbeats& beats) {
    const bool isNew = !lastLook_ || now - *lastLook_ > longestGap;
    if (!isNew && now - *lastLook_ < period)
        return false;
    lastLook_ = now;
    const std::array current{beats.main, beats.data};
    for (std::size_t i = 0; i < threads_.size(); ++i) {
        const bool hasMoved = isNew || threads_[i].beats != current[i];
        threads_[i] = {current[i], hasMoved ? 0 : threads_[i].misses + 1};
    }
    return std::ranges::any_of(threads_,
                               [](const Thread& thread) { return thread.misses >= looksWithoutBeat; });
}

} // namespace vello
