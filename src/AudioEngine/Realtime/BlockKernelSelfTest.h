// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/BlockKernel.h"

namespace vello {

/// How far a kernel may be from the reference: one unit in the last place. Beside a zero crossing that unit
/// gets smaller than any error of double precision relative to the signal; there the signal's own scale
/// counts (10^-13 is -260 dBFS).
bool samplesAgree(float got, float expected) noexcept;
/// The same for the memory of one channel: 10^-12 each value.
bool statesAgree(const CascadeState& got, const CascadeState& expected) noexcept;

/// Whether a kernel agrees with the reference on this processor: mono and stereo, with and without filters
/// and volume, in blocks that are too short for its vectors and in longer ones, each beginning with what the
/// one before left. Takes some 20 microseconds. Not on the data thread.
bool passesSelfTest(BlockKernel kernel);

} // namespace vello
