// SPDX-License-Identifier: Apache-2.0
// The fit against curves as headphone databases publish them, compared with a search that knows nothing of
// it.
#include "AudioEngine/Realtime/EQChainSnapshot.h"
#include "PresetFiles/PresetFile.h"
#include "support/CaseCount.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <random>
#include <string>
#include <vector>

namespace vello {
namespace {

using Curve = std::vector<double>;

constexpr double kRate = 48000;
constexpr double kPi = 3.141592653589793;

/// A filter as a published preset has it.
struct PublishedFilter {
    std::string type; ///< "PK", "LSC" or "HSC"
    double frequency, gain, quality;
};

double powerRatio(const std::array<double, 3>& b, const std::array<double, 3>& a, double frequency) {
    const auto z = std::exp(std::complex<double>(0, -2 * kPi * frequency / kRate));
    return 10 *
           std::log10(std::norm(b[0] + b[1] * z + b[2] * z * z) / std::norm(a[0] + a[1] * z + a[2] * z * z));
}

/// The cookbook's filters written down a second time, as they stand there.
double published(const PublishedFilter& filter, double frequency) {
    const double a = std::pow(10, filter.gain / 40);
    const double w = 2 * kPi * filter.frequency / kRate;
    const double alpha = std::sin(w) / (2 * filter.quality);
    const double c = std::cos(w);
    const double s = 2 * std::sqrt(a) * alpha;
    if (filter.type == "PK")
        return powerRatio({1 + alpha * a, -2 * c, 1 - alpha * a}, {1 + alpha / a, -2 * c, 1 - alpha / a},
                          frequency);
    if (filter.type == "LSC")
        return powerRatio(
            {a * ((a + 1) - (a - 1) * c + s), 2 * a * ((a - 1) - (a + 1) * c),
             a * ((a + 1) - (a - 1) * c - s)},
            {(a + 1) + (a - 1) * c + s, -2 * ((a - 1) + (a + 1) * c), (a + 1) + (a - 1) * c - s}, frequency);
    return powerRatio(
        {a * ((a + 1) + (a - 1) * c + s), -2 * a * ((a - 1) + (a + 1) * c), a * ((a + 1) + (a - 1) * c - s)},
        {(a + 1) - (a - 1) * c + s, 2 * ((a - 1) - (a + 1) * c), (a + 1) - (a - 1) * c - s}, frequency);
}

/// Ten filters: a bass shelf, corrections from the bass to the treble that become sharper, a treble shelf.
std::vector<PublishedFilter> headphone(unsigned number) {
    std::mt19937 random(number);
    const auto between = [&](double low, double high) {
        return std::round((low + (high - low) * (static_cast<double>(random()) / 4294967296.0)) * 10) / 10;
    };
    std::vector<PublishedFilter> filters{{"LSC", 105, between(-3, 8), 0.7}};
    for (const double centre : {60, 150, 300, 700, 1500, 2800, 4500, 6500})
        filters.push_back({"PK", std::round(centre * between(0.7, 1.4)), between(-5, 5),
                           between(0.6, centre < 2000 ? 2 : 5)});
    filters.push_back({"HSC", 10000, between(-5, 5), 0.7});
    return filters;
}

double gainOf(const std::vector<PublishedFilter>& filters, double frequency) {
    double sum = 0;
    for (const PublishedFilter& filter : filters)
        sum += published(filter, frequency);
    return sum;
}

std::string parametricFile(const std::vector<PublishedFilter>& filters) {
    std::string text = "Preamp: -6.2 dB\n";
    int number = 0;
    for (const PublishedFilter& filter : filters) {
        char line[128];
        std::snprintf(line, sizeof line, "Filter %d: ON %s Fc %.0f Hz Gain %.1f dB Q %.2f\n", ++number,
                      filter.type.c_str(), filter.frequency, filter.gain, filter.quality);
        text += line;
    }
    return text;
}

/// 127 points from 20 Hz to 20 kHz, lowered by the headroom, as GraphicEQ files are published.
std::string graphicFile(const std::vector<PublishedFilter>& filters, double level) {
    std::string text = "GraphicEQ: ";
    for (int i = 0; i < 127; ++i) {
        char point[64];
        const double frequency = 20 * std::pow(1000, i / 126.0);
        std::snprintf(point, sizeof point, "%s%.2f %.3f", i == 0 ? "" : "; ", frequency,
                      gainOf(filters, frequency) + level);
        text += point;
    }
    return text + "\n";
}

/// What the eight bands do, from the coefficients that the audio thread gets.
double bands(const EQPreset::Gains& gains, double frequency) {
    const EQChainSnapshot snapshot({.bandGains = {gains.begin(), gains.end()}}, kRate);
    if (!snapshot.biquadSetup())
        return 0;
    double sum = 0;
    for (const auto& section : snapshot.biquadSetup()->sections())
        sum += powerRatio({section.b0, section.b1, section.b2}, {1, section.a1, section.a2}, frequency);
    return sum;
}

Curve sampled(const auto& gain) {
    Curve curve;
    for (const double frequency : fitFrequencies())
        curve.push_back(gain(frequency));
    return curve;
}

double rms(Curve curve) {
    double sum = 0;
    for (const double value : curve)
        sum += value * value;
    return std::sqrt(sum / static_cast<double>(curve.size()));
}

/// As far as its overall level is left to the volume.
double rmsWithoutLevel(Curve curve) {
    double sum = 0;
    for (const double value : curve)
        sum += value;
    for (double& value : curve)
        value -= sum / static_cast<double>(curve.size());
    return rms(curve);
}

Curve difference(Curve first, const Curve& second) {
    for (std::size_t i = 0; i < first.size(); ++i)
        first[i] -= second[i];
    return first;
}

/// Searches on a lattice of 0.05 dB: from many starts, one band or two bands at a time, until no step of any
/// width helps. Slow and simple, without derivatives.
class LatticeSearch {
public:
    LatticeSearch(Curve target, double (*error)(Curve)) : target_(std::move(target)), error_(error) {
        for (std::size_t band = 0; band < 8; ++band)
            for (int step = 0; step <= 2 * kLimit; ++step)
                responses_[band].push_back(response(band, step));
    }

    /// The smallest RMS error that was found.
    double best(unsigned starts) {
        std::mt19937 random(7);
        double smallest = 1e9;
        for (unsigned start = 0; start < starts; ++start) {
            for (int& gain : gains_)
                gain = start == 0 ? kLimit : static_cast<int>(random() % (2 * kLimit + 1));
            sum_ = total();
            descend();
            smallest = std::min(smallest, error_(difference(total(), target_)));
        }
        return smallest;
    }

private:
    static constexpr int kLimit = 240; // steps of 0.05 dB to 12 dB

    static Curve response(std::size_t band, int step) {
        EQPreset::Gains gains{};
        gains[band] = (step - kLimit) * 0.05;
        const BiquadCoefficients section =
            peakingSection(gains[band], EQSettings::bandFrequencies[band], kRate);
        return sampled([&](double frequency) {
            return powerRatio({section.b0, section.b1, section.b2}, {1, section.a1, section.a2}, frequency);
        });
    }

    Curve total() const {
        Curve sum(target_.size());
        for (std::size_t band = 0; band < 8; ++band)
            for (std::size_t i = 0; i < sum.size(); ++i)
                sum[i] += responses_[band][static_cast<std::size_t>(gains_[band])][i];
        return sum;
    }

    const Curve& at(std::size_t band, int gain) const {
        return responses_[band][static_cast<std::size_t>(gain)];
    }

    bool tryMove(std::size_t first, int firstStep, std::size_t second, int secondStep) {
        const int one = std::clamp(gains_[first] + firstStep, 0, 2 * kLimit);
        const int two = std::clamp(gains_[second] + secondStep, 0, 2 * kLimit);
        const double *o0 = at(first, gains_[first]).data(), *o1 = at(first, one).data();
        const double *t0 = at(second, gains_[second]).data(), *t1 = at(second, two).data();
        Curve before(sum_.size()), after(sum_.size());
        for (std::size_t i = 0; i < sum_.size(); ++i) {
            before[i] = sum_[i] - target_[i];
            after[i] = before[i] + o1[i] - o0[i] + t1[i] - t0[i];
        }
        if (!(error_(after) < error_(before) - 1e-9))
            return false;
        gains_[first] = one;
        gains_[second] = two;
        sum_ = total();
        return true;
    }

    bool pass(int step) {
        bool hasMoved = false;
        for (std::size_t first = 0; first < 8; ++first)
            for (std::size_t second = first + 1; second < 8; ++second)
                for (const auto& [one, two] : {std::pair{step, 0},
                                               {-step, 0},
                                               {0, step},
                                               {0, -step},
                                               {step, step},
                                               {step, -step},
                                               {-step, step},
                                               {-step, -step}})
                    hasMoved = tryMove(first, one, second, two) || hasMoved;
        return hasMoved;
    }

    void descend() {
        for (const int step : {64, 24, 8, 3, 1})
            while (pass(step)) {
            }
    }

    Curve target_;
    double (*error_)(Curve);
    std::array<std::vector<Curve>, 8> responses_;
    std::array<int, 8> gains_{};
    Curve sum_;
};

constexpr unsigned kStarts = 12;
constexpr double kAllowance = 0.1; // dB

class PublishedCurve : public testing::TestWithParam<unsigned> {};

TEST_P(PublishedCurve, IsFittedAsWellAsAnExhaustiveSearchDoes) {
    const auto filters = headphone(GetParam());
    const auto presets = readPresetFile(parametricFile(filters));
    ASSERT_EQ(presets.size(), 1U);
    const Curve target = sampled([&](double frequency) { return gainOf(filters, frequency); });
    const Curve fitted = sampled([&](double frequency) { return bands(presets[0].bandGains, frequency); });
    EXPECT_NEAR(presets[0].error.rms, rms(difference(fitted, target)), 1e-6);
    const double best = LatticeSearch(target, rms).best(kStarts);
    EXPECT_LE(presets[0].error.rms, best + kAllowance);
    RecordProperty("fit", std::to_string(presets[0].error.rms));
    RecordProperty("search", std::to_string(best));
}

TEST_P(PublishedCurve, IsFittedAsWellWhenItIsGivenInPoints) {
    const auto filters = headphone(GetParam());
    const auto presets = readPresetFile(graphicFile(filters, -6.2));
    ASSERT_EQ(presets.size(), 1U);
    const Curve target = sampled([&](double frequency) { return gainOf(filters, frequency); });
    const Curve fitted = sampled([&](double frequency) { return bands(presets[0].bandGains, frequency); });
    const double achieved = rmsWithoutLevel(difference(fitted, target));
    const double best = LatticeSearch(target, rmsWithoutLevel).best(kStarts);
    EXPECT_LE(achieved, best + kAllowance);
    RecordProperty("fit", std::to_string(achieved));
    RecordProperty("search", std::to_string(best));
}

INSTANTIATE_TEST_SUITE_P(Headphones, PublishedCurve, testing::Range(1U, test::isSanitized ? 4U : 21U));

} // namespace
} // namespace vello
