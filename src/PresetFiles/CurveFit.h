// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/EQPreset.h"

#include <span>

/// Finds the gains whose filters come closest to a curve. The response is computed from the coefficients that
/// the audio thread runs, at kFitSampleRate.
namespace vello {

inline constexpr double kFitSampleRate = 48000;       ///< Hz
inline constexpr double kLowestFitFrequency = 40;     ///< Hz
inline constexpr double kHighestFitFrequency = 12000; ///< Hz
inline constexpr double kLargestFittedGain = 12;      ///< dB, in either direction

/// How far the response of the bands is from a curve, between kLowestFitFrequency and kHighestFitFrequency.
struct FitError {
    double rms = 0;         ///< dB, every octave counts the same
    double largest = 0;     ///< dB, never negative
    double atFrequency = 0; ///< Hz, where the largest one is; 0 without any error
};

struct FittedCurve {
    EQPreset::Gains bandGains; ///< dB, rounded to 0.01
    double level;              ///< dB, what the fit left to the volume
    FitError error;            ///< of the rounded gains and the level together
};

/// What becomes of a curve's overall level, which the bands can do badly and the volume well.
enum class CurveLevel {
    stays,  ///< the bands follow the curve as it stands
    isFree, ///< the bands follow its shape at whatever level they come closest
};

/// The frequencies of the fit in Hz, ascending, evenly spaced on a logarithmic scale.
std::span<const double> fitFrequencies();
/// The gain of all eight bands together at `frequency` (Hz, below half of kFitSampleRate), in dB.
double bandsResponse(const EQPreset::Gains& gains, double frequency);
/// Minimizes the RMS error by bounded least squares (Levenberg and Marquardt). `curve` is the wanted gain in
/// dB at each of fitFrequencies(), all finite.
FittedCurve fitBands(std::span<const double> curve, CurveLevel level);

} // namespace vello
