// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/Realtime.h"

#include <cstdint>

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

namespace vello {

/// The floating-point control register of this thread, and its flags for DenormalsAreZero.
namespace arithmetic {

#if defined(__SSE2__)
using Register = std::uint32_t;
inline constexpr Register kFlags = 0x8040; // MXCSR: flush to zero, denormals are zero
inline Register read() noexcept {
    return _mm_getcsr();
}
inline void write(Register value) noexcept {
    _mm_setcsr(value);
}
#elif defined(__aarch64__)
using Register = std::uint64_t;
inline constexpr Register kFlags = std::uint64_t{1} << 24; // FPCR: flush to zero
inline Register read() noexcept {
    Register value = 0;
    asm volatile("mrs %0, fpcr" : "=r"(value));
    return value;
}
inline void write(Register value) noexcept {
    asm volatile("msr fpcr, %0" : : "r"(value));
}
#else
using Register = std::uint32_t;
inline constexpr Register kFlags = 0;
inline Register read() noexcept {
    return 0;
}
inline void write(Register) noexcept {}
#endif

} // namespace arithmetic

/// During its lifetime, this thread treats denormal numbers as zero and never produces them. Filters that
/// fade out would otherwise produce denormals, which make many processors a hundred times slower. A switch
/// costs some ten cycles; on a thread that does so anyway there is none.
class DenormalsAreZero {
public:
    DenormalsAreZero() noexcept VELLO_REALTIME : saved_(arithmetic::read()) {
        if (switches())
            arithmetic::write(saved_ | arithmetic::kFlags);
    }
    ~DenormalsAreZero() {
        if (switches())
            arithmetic::write(saved_);
    }
    DenormalsAreZero(const DenormalsAreZero&) = delete;
    DenormalsAreZero& operator=(const DenormalsAreZero&) = delete;

private:
    bool switches() const noexcept { return (saved_ & arithmetic::kFlags) != arithmetic::kFlags; }

    arithmetic::Register saved_;
};

} // namespace vello
