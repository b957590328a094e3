// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime.h"

#include <chrono>
#include <cstdint>

namespace vello {

/// An instant of the main thread's clock as the data thread writes it down.
inline std::uint64_t hostTime(std::chrono::steady_clock::time_point instant) noexcept VELLO_REALTIME {
    const auto sinceStart = instant.time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(sinceStart).count());
}

/// Nanoseconds of the monotonic clock, the same clock as the main thread's. Any thread; never blocks.
inline std::uint64_t hostTime() noexcept VELLO_REALTIME {
    return hostTime(std::chrono::steady_clock::now());
}

} // namespace vello
