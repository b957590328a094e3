// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/BlockKernel.h"

namespace vello {

/// Whether a sample is within the tolerance of the reference: one unit in the last place, or 10^-13 (-260
/// dBFS). The absolute limit is for samples near zero, where one unit is smaller than the rounding error of
/// the filters.
bool samplesAgree(float got, float expected) noexcept;
/// The same for the state of one channel, with a tolerance of 10^-12 per value.
bool statesAgree(const CascadeState& got, const CascadeState& expected) noexcept;

/// Whether a kernel matches the reference on this processor: mono and stereo, with and without filters and
/// volume, in consecutive blocks shorter and longer than its vectors need. Takes about 30 microseconds. Not
/// on the data thread.
bool passesSelfTest(BlockKernel kernel);

} // namespace vello
