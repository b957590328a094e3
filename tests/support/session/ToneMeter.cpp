// SPDX-License-Identifier: Apache-2.0
#include "ToneMeter.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <stdexcept>

namespace vello::session {
namespace {

/// Number of periods within the measured frames; whole for valid frequencies.
std::vector<double> periods(const std::vector<double>& frequencies, int sampleRate, std::size_t frames) {
    std::vector<double> result;
    for (const double frequency : frequencies)
        result.push_back(frequency * static_cast<double>(frames) / sampleRate);
    return result;
}

void check(std::vector<double> periods) {
    std::ranges::sort(periods);
    for (std::size_t i = 0; i < periods.size(); ++i) {
        if (std::abs(periods[i] - std::round(periods[i])) > 1e-9 || periods[i] < 2)
            throw std::invalid_argument("a tone without a whole number of periods");
        if (i > 0 && periods[i] - periods[i - 1] < 2 - 1e-9)
            throw std::invalid_argument("two tones too near to each other");
    }
}

std::vector<std::complex<double>> wave(double periods, std::size_t frames) {
    std::vector<std::complex<double>> result(frames);
    const auto count = static_cast<double>(frames);
    for (std::size_t i = 0; i < frames; ++i) {
        const double turn = 2 * std::numbers::pi * static_cast<double>(i) / count;
        // The window's mean is one half, and so is the share of a sine that rotates in this direction.
        result[i] = (1 - std::cos(turn)) * 2.0 / count * std::polar(1.0, -turn * periods);
    }
    return result;
}

std::vector<double> lastOf(const Recording& recording, int channel, std::size_t frames) {
    std::vector<double> result(frames);
    for (std::size_t i = 0; i < frames; ++i)
        result[i] = static_cast<double>(recording.sample(recording.frames() - frames + i, channel));
    return result;
}

} // namespace

ToneMeter::ToneMeter(const std::vector<double>& frequencies, int sampleRate, std::size_t frames)
    : frames_(frames) {
    const auto turns = periods(frequencies, sampleRate, frames);
    check(turns);
    for (const double turn : turns)
        waves_.push_back(wave(turn, frames));
}

ToneLevels ToneMeter::measure(const Recording& recording) const {
    if (recording.frames() < frames_)
        throw std::out_of_range("the recording is too short");
    ToneLevels result(waves_.size());
    for (int channel = 0; channel < recording.channels(); ++channel) {
        const auto sound = lastOf(recording, channel, frames_);
        for (std::size_t tone = 0; tone < waves_.size(); ++tone)
            result[tone].push_back(level(waves_[tone], sound));
    }
    return result;
}

double ToneMeter::level(const std::vector<std::complex<double>>& wave,
                        const std::vector<double>& sound) const {
    double real = 0;
    double imaginary = 0;
    for (std::size_t i = 0; i < frames_; ++i) {
        real += wave[i].real() * sound[i];
        imaginary += wave[i].imag() * sound[i];
    }
    return std::max(kSilentLevel, decibels(std::hypot(real, imaginary)));
}

} // namespace vello::session
