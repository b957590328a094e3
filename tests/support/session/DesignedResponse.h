// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>

namespace vello::session {

/// Centres of the eight bands, in Hz.
inline constexpr std::array<double, 8> bandFrequencies = {63, 125, 250, 500, 1000, 2000, 4000, 8000};

/// What eight bells in a row do to a sine of `frequency` (Hz), in dB: the sum of their magnitudes on the unit
/// circle. Each is the peaking filter of R. Bristow-Johnson's Audio EQ Cookbook with Q = 1.41 and its centre
/// and gain (dB) of the table. Deliberately not the equalizer's own code: that is checked against
/// this.
double designedResponse(const std::array<double, 8>& gains, double frequency, double sampleRate);

} // namespace vello::session
