// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Recording.h"

#include <complex>
#include <cstddef>
#include <vector>

namespace vello::session {

/// Levels of tones in every channel of a recording: levels[tone][channel] in dB, 0 for a sine of amplitude 1.
/// Silence is `kSilentLevel`.
using ToneLevels = std::vector<std::vector<double>>;

inline constexpr double kSilentLevel = -200; // dB

/// Measures each of several tones that sound at the same time.
///
/// Every tone has a whole number of periods in the measured frames, and the numbers of any two tones differ
/// by at least two. So under the Hann window no tone leaks into the level of another, whatever their phases
/// are.
class ToneMeter {
public:
    /// `frequencies` in Hz: multiples of sampleRate / frames that differ by at least two of these steps.
    /// Throws std::invalid_argument for others.
    ToneMeter(const std::vector<double>& frequencies, int sampleRate, std::size_t frames);

    std::size_t frames() const { return frames_; }
    /// The levels in the last frames() frames of the recording; throws std::out_of_range when it is shorter.
    ToneLevels measure(const Recording& recording) const;

private:
    double level(const std::vector<std::complex<double>>& wave, const std::vector<double>& sound) const;

    std::size_t frames_;
    /// Each tone's wave multiplied by the window, scaled so that the projection gives the amplitude.
    std::vector<std::vector<std::complex<double>>> waves_;
};

} // namespace vello::session
