// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>

namespace vello {

/// Duration of a core cycle in nanoseconds, at this moment. Every processor of ours adds registers in one
/// cycle, so a chain in which each addition needs the sum before it takes as many cycles as it has additions.
/// Needs no performance counters, which virtual machines often lack.
inline double nanosecondsPerCycle() {
    constexpr std::size_t additions = 10'000;
    std::size_t sum = 0;
    std::size_t summand = 1;
    asm volatile("" : "+r"(summand)); // unknown to the compiler: processors shorten chains of constants
    const auto start = std::chrono::steady_clock::now();
#pragma GCC unroll 20
    for (std::size_t i = 0; i < additions; ++i) {
        sum += summand;
        asm volatile("" : "+r"(sum)); // keeps the compiler from adding at once
    }
    const std::chrono::duration<double, std::nano> elapsed = std::chrono::steady_clock::now() - start;
    return elapsed.count() / additions;
}

} // namespace vello
