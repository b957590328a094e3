// SPDX-License-Identifier: Apache-2.0
//
// The instruction sets that the block kernels are compiled for. The list is fixed, so that a newer release of
// Highway does not add one that the tests have not covered. Include before any other header of Highway.
#pragma once

#ifdef HIGHWAY_HWY_DETECT_TARGETS_H_
#error "Highway has already been told which instruction sets to use"
#endif

/// The instruction sets with a kernel. BlockKernelTest runs all that the processor supports,
/// scripts/checks/kernels runs the others that can be emulated. The last two are scalar and mean the
/// reference.
#define VELLO_KERNEL_TARGETS                                                                                 \
    (HWY_SSE2 | HWY_SSE4 | HWY_AVX2 | HWY_AVX3 | HWY_NEON_WITHOUT_AES | HWY_NEON | HWY_EMU128 | HWY_SCALAR)

/// Excluded on purpose. A processor with one of these uses the best of the others:
/// - SSSE3, AVX3_DL, AVX3_ZEN4, AVX3_SPR, NEON_BF16: they add nothing that a kernel would use.
/// - SVE and RVV: their vector size is unknown at compile time, so vectors cannot be members of a class.
/// - POWER and Z: not tested.
#define VELLO_TARGETS_LEFT_OUT                                                                               \
    (HWY_SSSE3 | HWY_AVX3_DL | HWY_AVX3_ZEN4 | HWY_AVX3_SPR | HWY_NEON_BF16 | HWY_SVE | HWY_SVE2 |           \
     HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV | HWY_PPC8 | HWY_PPC9 | HWY_PPC10 | HWY_Z14 | HWY_Z15)

#ifndef HWY_DISABLED_TARGETS
#define HWY_DISABLED_TARGETS (~(VELLO_KERNEL_TARGETS))
#endif
#include <hwy/detect_targets.h>

// Names that Highway 1.0 does not define yet.
#ifndef HWY_SSE2
#define HWY_SSE2 0
#endif
#ifndef HWY_AVX3_ZEN4
#define HWY_AVX3_ZEN4 0
#endif
#ifndef HWY_AVX3_SPR
#define HWY_AVX3_SPR 0
#endif
#ifndef HWY_NEON_WITHOUT_AES
#define HWY_NEON_WITHOUT_AES 0
#endif
#ifndef HWY_NEON_BF16
#define HWY_NEON_BF16 0
#endif
#ifndef HWY_PPC9
#define HWY_PPC9 0
#define HWY_PPC10 0
#endif
#ifndef HWY_Z14
#define HWY_Z14 0
#define HWY_Z15 0
#endif
