// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/BiquadCascade.h"

#include <cstddef>

namespace vello {

/// Memory of one channel: [n-1] and [n-2] of the input and of each section's output.
struct PlainState {
    float histories[kSectionCount + 1][2] = {};
};

/// Coefficients as 32-bit floats.
struct PlainSection {
    float b0, b1, b2, a1, a2;
};

/// The eight sections as one writes them down: scalar, 32-bit float, direct form I, one channel of
/// interleaved samples in place. The yardstick of the benchmark.
void plainCascade(const PlainSection* sections, PlainState& state, float* samples, std::size_t stride,
                  std::size_t frames) noexcept;

/// The same with the loops exchanged: each section goes over the whole buffer.
void plainCascadeBySection(const PlainSection* sections, PlainState& state, float* samples,
                           std::size_t stride, std::size_t frames) noexcept;

} // namespace vello
