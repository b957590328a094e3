// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/EQChainSnapshot.h"
#include "Models/EQPreset.h"

#include <cmath>
#include <cstddef>
#include <numeric>
#include <random>
#include <vector>

namespace vello::test {

inline EQSettings settingsWithGains(std::vector<double> gains) {
    EQSettings settings;
    settings.bandGains = std::move(gains);
    return settings;
}

inline EQSettings loudBass() {
    return settingsWithGains({12, 12, 0, 0, 0, 0, 0, 0});
}

/// first, first + 1, ...
inline std::vector<float> counting(float first, std::size_t count) {
    std::vector<float> samples(count);
    std::iota(samples.begin(), samples.end(), first);
    return samples;
}

/// Uniformly distributed white noise of -16 dBFS RMS.
inline std::vector<float> noise(std::size_t count, std::uint32_t seed) {
    const float amplitude = static_cast<float>(std::pow(10.0, -16.0 / 20.0) * std::sqrt(3.0));
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> distribution(-amplitude, amplitude);
    std::vector<float> samples(count);
    for (float& sample : samples)
        sample = distribution(random);
    return samples;
}

/// Gains within +-12 dB.
inline std::vector<double> randomGains(std::mt19937& random) {
    std::uniform_real_distribution<double> distribution(-12.0, 12.0);
    std::vector<double> gains(EQSettings::bandCount);
    for (double& gain : gains)
        gain = distribution(random);
    return gains;
}

/// A textbook version of the filter cascade: direct form I with five products per section in extended
/// precision, designed here again from the formulas. It shares no code with the engine.
class TextbookCascade {
public:
    using Real = long double;

    TextbookCascade(const std::vector<double>& gains, double sampleRate) { design(gains, sampleRate); }

    /// Sets new coefficients and keeps the filter state.
    void design(const std::vector<double>& gains, double sampleRate) {
        constexpr Real frequencies[] = {63, 125, 250, 500, 1000, 2000, 4000, 8000};
        for (std::size_t k = 0; k < 8; ++k) {
            const Real amplitude = std::pow(Real{10}, static_cast<Real>(gains[k]) / 40);
            const Real omega =
                2 * 3.14159265358979323846264338327950288L * frequencies[k] / static_cast<Real>(sampleRate);
            const Real alpha = std::sin(omega) / 2.82L;
            const Real a0 = 1 + alpha / amplitude;
            b0_[k] = (1 + alpha * amplitude) / a0;
            b1_[k] = a1_[k] = -2 * std::cos(omega) / a0;
            b2_[k] = (1 - alpha * amplitude) / a0;
            a2_[k] = (1 - alpha / amplitude) / a0;
        }
    }

    Real process(Real x) {
        for (std::size_t k = 0; k < 8; ++k) {
            const Real y = b0_[k] * x + b1_[k] * past_[k][0] + b2_[k] * past_[k][1] -
                           a1_[k] * past_[k + 1][0] - a2_[k] * past_[k + 1][1];
            next_[k] = x;
            x = y;
        }
        next_[8] = x;
        for (std::size_t k = 0; k < 9; ++k) {
            past_[k][1] = past_[k][0];
            past_[k][0] = next_[k];
        }
        return x;
    }

private:
    Real b0_[8], b1_[8], b2_[8], a1_[8], a2_[8];
    Real past_[9][2] = {};
    Real next_[9] = {};
};

} // namespace vello::test
