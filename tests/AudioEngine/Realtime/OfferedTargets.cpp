// SPDX-License-Identifier: Apache-2.0
// Unlike for the kernels, Highway is configured here with nothing disabled and everything enabled.
#define HWY_DISABLED_TARGETS 0
#define HWY_COMPILE_ALL_ATTAINABLE
#define HWY_WANT_AVX3_DL
#define HWY_WANT_AVX3_ZEN4
#include <hwy/detect_targets.h>

#include "OfferedTargets.h"

namespace vello::test {

std::int64_t targetsThatHighwayOffers() {
    return HWY_TARGETS;
}

} // namespace vello::test
