// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/Realtime.h"

#include <chrono>
#include <cstdint>
#include <ctime>

// Reads the clock without a system call, so the data thread may call it.
extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept VELLO_REALTIME;

namespace vello {

/// Converts a time of the main thread's clock to the format of hostTime().
inline std::uint64_t hostTime(std::chrono::steady_clock::time_point instant) noexcept VELLO_REALTIME {
    const auto sinceStart = instant.time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(sinceStart).count());
}

/// Nanoseconds of the monotonic clock, which is also the main thread's clock. Uses the coarse variant if
/// available, which may lag by some milliseconds but is never ahead; reading the precise clock would take a
/// noticeable part of a short callback. Any thread; never blocks.
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
