// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Recording.h"

#include <complex>
#include <cstddef>
#include <vector>

namespace vello::session {

/// How loud some tones are in every channel of a recording: levels[tone][channel], in dB, 0 for a sine of
/// amplitude 1. Silence is `silentLevel`.
using ToneLevels = std::vector<std::vector<double>>;

inline constexpr double silentLevel = -200; // dB

/// Measures tones that sound together, each for itself.
///
/// Every tone has a whole number of periods in the frames that are measured, and the numbers of two tones
/// differ by two at least, so that under the Hann window none of them shows in another's level, whatever
/// their phases are.
class ToneMeter {
public:
    /// `frequencies` in Hz: multiples of sampleRate / frames, at least two of them apart. Throws
    /// std::invalid_argument for others.
    ToneMeter(const std::vector<double>& frequencies, int sampleRate, std::size_t frames);

    std::size_t frames() const { return frames_; }
    /// The levels in the last frames() of the recording; std::out_of_range when it is shorter.
    ToneLevels measure(const Recording& recording) const;

private:
    double level(const std::vector<std::complex<double>>& wave, const std::vector<double>& sound) const;

    std::size_t frames_;
    /// For each tone its wave under the window, scaled so that the projection gives the amplitude.
    std::vector<std::vector<std::complex<double>>> waves_;
};

} // namespace vello::session
