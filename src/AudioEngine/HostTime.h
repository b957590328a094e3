// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime.h"

#include <chrono>
#include <cstdint>

namespace vello {

/// Nanoseconds of the monotonic clock, the same clock as the main thread's. Any thread; never blocks.
inline std::uint64_t hostTime() noexcept VELLO_REALTIME {
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(sinceStart).count());
}

} // namespace vello
