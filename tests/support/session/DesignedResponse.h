// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>

namespace vello::session {

/// Centres of the eight bands, in Hz.
inline constexpr std::array<double, 8> kBandFrequencies = {63, 125, 250, 500, 1000, 2000, 4000, 8000};

/// Gain of eight peaking filters in series for a sine of `frequency` (Hz), in dB: the sum of their magnitudes
/// on the unit circle. Each is the peaking filter of R. Bristow-Johnson's Audio EQ Cookbook with Q = 1.41,
/// and its centre and gain (dB) from the table. It deliberately does not use the equalizer's own code, which
/// is tested against this.
double designedResponse(const std::array<double, 8>& gains, double frequency, double sampleRate);

} // namespace vello::session
