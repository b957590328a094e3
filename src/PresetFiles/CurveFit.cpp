// SPDX-License-Identifier: Apache-2.0
#include "PresetFiles/CurveFit.h"

#include "Foundation/Precondition.h"
#include "TargetCurve.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <vector>

#include <Eigen/Dense>

namespace vello {
namespace {

constexpr int kBands = EQSettings::bandCount;
constexpr std::size_t kFitPoints = 200;

/// What is sought: the gain of each band, then the overall level.
constexpr int kUnknowns = kBands + 1;
constexpr int kLevel = kBands;

using Unknowns = Eigen::Matrix<double, kUnknowns, 1>;
using NormalMatrix = Eigen::Matrix<double, kUnknowns, kUnknowns>;
using Slopes = Eigen::Matrix<double, Eigen::Dynamic, kUnknowns>;

std::array<double, kFitPoints> logarithmicGrid() {
    std::array<double, kFitPoints> grid{};
    const double step = std::log(kHighestFitFrequency / kLowestFitFrequency) / (kFitPoints - 1);
    for (std::size_t i = 0; i < kFitPoints; ++i)
        grid[i] = kLowestFitFrequency * std::exp(step * static_cast<double>(i));
    grid.back() = kHighestFitFrequency;
    return grid;
}

BiquadCoefficients bandSection(std::size_t band, double gain) {
    return peakingSection(gain, EQSettings::bandFrequencies[band], kFitSampleRate);
}

std::vector<SampleDelay> delaysOfGrid() {
    std::vector<SampleDelay> delays;
    std::ranges::transform(fitFrequencies(), std::back_inserter(delays),
                           [](double frequency) { return SampleDelay(frequency, kFitSampleRate); });
    return delays;
}

/// The response of one band at every frequency of the fit.
Eigen::VectorXd bandCurve(int band, double gain) {
    static const auto delays = delaysOfGrid();
    const auto section = bandSection(static_cast<std::size_t>(band), gain);
    Eigen::VectorXd curve(kFitPoints);
    std::ranges::transform(delays, curve.begin(),
                           [&](const SampleDelay& delay) { return sectionGain(section, delay); });
    return curve;
}

Unknowns bounded(Unknowns unknowns) {
    for (int band = 0; band < kBands; ++band)
        unknowns[band] = std::clamp(unknowns[band], -kLargestFittedGain, kLargestFittedGain);
    return unknowns;
}

/// One descent from a start to the nearest minimum. A band's response is nearly, but not quite, linear in its
/// gain, so a few steps are enough.
class Descent {
public:
    Descent(const Eigen::VectorXd& target, const Unknowns& start, CurveLevel level)
        : target_(target), level_(level), unknowns_(bounded(start)), residual_(residualOf(unknowns_)) {}

    void run() {
        constexpr int mostSteps = 60;
        constexpr double mostDamping = 1e9;
        for (int step = 0; step < mostSteps && damping_ < mostDamping && !isDone_; ++step)
            tryStep();
    }

    const Unknowns& unknowns() const { return unknowns_; }
    double cost() const { return residual_.squaredNorm(); }

private:
    Eigen::VectorXd residualOf(const Unknowns& unknowns) const {
        Eigen::VectorXd residual = unknowns[kLevel] - target_.array();
        for (int band = 0; band < kBands; ++band)
            residual += bandCurve(band, unknowns[band]);
        return residual;
    }

    Slopes slopes() const {
        constexpr double distance = 1e-3; // dB
        Slopes result(target_.size(), kUnknowns);
        for (int band = 0; band < kBands; ++band)
            result.col(band) =
                (bandCurve(band, unknowns_[band] + distance) - bandCurve(band, unknowns_[band] - distance)) /
                (2 * distance);
        result.col(kLevel).setOnes();
        return result;
    }

    /// Whether an unknown stays: a level that is not free, or a band at its limit that the curve asks to go
    /// further.
    bool isHeld(int index, double gradient) const {
        if (index == kLevel)
            return level_ == CurveLevel::stays;
        return (unknowns_[index] >= kLargestFittedGain && gradient < 0) ||
               (unknowns_[index] <= -kLargestFittedGain && gradient > 0);
    }

    Unknowns dampedStep() const {
        const Slopes jacobian = slopes();
        Unknowns gradient = jacobian.transpose() * residual_;
        NormalMatrix normal = jacobian.transpose() * jacobian;
        normal.diagonal() *= 1 + damping_;
        for (int index = 0; index < kUnknowns; ++index) {
            if (!isHeld(index, gradient[index]))
                continue;
            normal.row(index).setZero();
            normal.col(index).setZero();
            normal(index, index) = 1;
            gradient[index] = 0;
        }
        return -normal.ldlt().solve(gradient);
    }

    void tryStep() {
        constexpr double smallestStep = 1e-6; // dB
        const Unknowns trial = bounded(unknowns_ + dampedStep());
        const Eigen::VectorXd residual = residualOf(trial);
        isDone_ = (trial - unknowns_).cwiseAbs().maxCoeff() < smallestStep;
        if (residual.squaredNorm() < cost()) {
            unknowns_ = trial;
            residual_ = residual;
            damping_ /= 4;
        } else {
            damping_ *= 8;
        }
    }

    const Eigen::VectorXd& target_;
    const CurveLevel level_;
    Unknowns unknowns_;
    Eigen::VectorXd residual_;
    double damping_ = 1e-3;
    bool isDone_ = false;
};

/// The curve's own values at the bands' centres.
Unknowns valuesAtCentres(std::span<const double> curve) {
    Unknowns values = Unknowns::Zero();
    for (int band = 0; band < kBands; ++band) {
        const double centre = EQSettings::bandFrequencies[static_cast<std::size_t>(band)];
        const auto at = std::ranges::lower_bound(fitFrequencies(), centre) - fitFrequencies().begin();
        values[band] = curve[static_cast<std::size_t>(at)];
    }
    return values;
}

/// The better one of the descents from the two ends that could lead to different minima.
Unknowns minimum(std::span<const double> curve, CurveLevel level) {
    const Eigen::VectorXd target = Eigen::Map<const Eigen::VectorXd>(curve.data(), kFitPoints);
    Descent fromCurve(target, valuesAtCentres(curve), level);
    Descent fromFlat(target, Unknowns::Zero(), level);
    fromCurve.run();
    fromFlat.run();
    return fromCurve.cost() <= fromFlat.cost() ? fromCurve.unknowns() : fromFlat.unknowns();
}

EQPreset::Gains roundedGains(const Unknowns& unknowns) {
    EQPreset::Gains gains{};
    for (std::size_t band = 0; band < gains.size(); ++band)
        gains[band] = std::round(unknowns[static_cast<int>(band)] * 100) / 100 + 0.0; // no -0
    return gains;
}

FitError errorOf(const EQPreset::Gains& gains, double level, std::span<const double> curve) {
    FitError error;
    double sum = 0;
    for (std::size_t i = 0; i < kFitPoints; ++i) {
        const double frequency = fitFrequencies()[i];
        const double difference = std::abs(bandsResponse(gains, frequency) + level - curve[i]);
        sum += difference * difference;
        if (difference > error.largest)
            error = {.largest = difference, .atFrequency = frequency};
    }
    error.rms = std::sqrt(sum / kFitPoints);
    return error;
}

} // namespace

std::span<const double> fitFrequencies() {
    static const auto grid = logarithmicGrid();
    return grid;
}

double bandsResponse(const EQPreset::Gains& gains, double frequency) {
    const SampleDelay delay(frequency, kFitSampleRate);
    double sum = 0;
    for (std::size_t band = 0; band < gains.size(); ++band)
        sum += sectionGain(bandSection(band, gains[band]), delay);
    return sum;
}

FittedCurve fitBands(std::span<const double> curve, CurveLevel level) {
    precondition(curve.size() == kFitPoints, "the curve has a value at every frequency of the fit");
    const Unknowns unknowns = minimum(curve, level);
    const auto gains = roundedGains(unknowns);
    return {.bandGains = gains, .level = unknowns[kLevel], .error = errorOf(gains, unknowns[kLevel], curve)};
}

} // namespace vello
