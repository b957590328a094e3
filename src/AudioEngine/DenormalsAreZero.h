// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime.h"

#include <cstdint>

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

namespace vello {

/// While it lives, this thread's arithmetic takes denormal numbers for zero and never makes one. Filters that
/// fade out would otherwise run into them, and many processors are then a hundred times slower.
class DenormalsAreZero {
public:
    DenormalsAreZero() noexcept VELLO_REALTIME : saved_(read()) { write(saved_ | kFlags); }
    ~DenormalsAreZero() { write(saved_); }
    DenormalsAreZero(const DenormalsAreZero&) = delete;
    DenormalsAreZero& operator=(const DenormalsAreZero&) = delete;

private:
#if defined(__SSE2__)
    using Register = std::uint32_t;
    static constexpr Register kFlags = 0x8040; // MXCSR: flush to zero, denormals are zero
    static Register read() noexcept {
        return _mm_getcsr();
    }
    static void write(Register value) noexcept {
        _mm_setcsr(value);
    }
#elif defined(__aarch64__)
    using Register = std::uint64_t;
    static constexpr Register kFlags = std::uint64_t{1} << 24; // FPCR: flush to zero
    static Register read() noexcept {
        Register value = 0;
        asm volatile("mrs %0, fpcr" : "=r"(value));
        return value;
    }
    static void write(Register value) noexcept {
        asm volatile("msr fpcr, %0" : : "r"(value));
    }
#else
    using Register = std::uint32_t;
    static constexpr Register kFlags = 0;
    static Register read() noexcept {
        return 0;
    }
    static void write(Register) noexcept {}
#endif

    Register saved_;
};

} // namespace vello
