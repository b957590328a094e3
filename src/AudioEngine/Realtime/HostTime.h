// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/Realtime.h"

#include <chrono>
#include <cstdint>
#include <ctime>

namespace vello {

/// An instant of the main thread's clock as the data thread writes it down.
inline std::uint64_t hostTime(std::chrono::steady_clock::time_point instant) noexcept VELLO_REALTIME {
    const auto sinceStart = instant.time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(sinceStart).count());
}

/// Nanoseconds of the monotonic clock, the same clock as the main thread's; where there is one its cheap
/// reading, which may be some milliseconds old but never ahead. The exact one would be a good part of a short
/// callback. Any thread; never blocks.
inline std::uint64_t hostTime() noexcept VELLO_REALTIME {
#if defined(CLOCK_MONOTONIC_COARSE)
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000U + static_cast<std::uint64_t>(now.tv_nsec);
#else
    return hostTime(std::chrono::steady_clock::now());
#endif
}

} // namespace vello
