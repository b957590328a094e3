// SPDX-License-Identifier: Apache-2.0
#include "TargetCurve.h"

#include "Foundation/Localization.h"
#include "Foundation/Text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <functional>

namespace vello {
namespace {

constexpr double kTwoPi = 6.283185307179586;

/// The terms that all of the cookbook's sections share.
struct CookbookTerms {
    explicit CookbookTerms(const TargetFilter& filter)
        : amplitude(std::pow(10.0, filter.gain / 40)),
          cosine(std::cos(kTwoPi * filter.frequency / kFitSampleRate)),
          alpha(std::sin(kTwoPi * filter.frequency / kFitSampleRate) / (2 * filter.quality)) {}

    double amplitude, cosine, alpha;
};

BiquadCoefficients bell(const CookbookTerms& terms) {
    const auto [a, cosine, alpha] = terms;
    const double a0 = 1 + alpha / a;
    return {.b0 = (1 + alpha * a) / a0,
            .b1 = -2 * cosine / a0,
            .b2 = (1 - alpha * a) / a0,
            .a1 = -2 * cosine / a0,
            .a2 = (1 - alpha / a) / a0};
}

/// The high shelf is the low one with the sign of every odd power of z turned: `side` is 1 or -1.
BiquadCoefficients shelf(const CookbookTerms& terms, double side) {
    const double a = terms.amplitude;
    const double cosine = side * terms.cosine;
    const double root = 2 * std::sqrt(a) * terms.alpha;
    const double a0 = (a + 1) + (a - 1) * cosine + root;
    return {.b0 = a * ((a + 1) - (a - 1) * cosine + root) / a0,
            .b1 = side * 2 * a * ((a - 1) - (a + 1) * cosine) / a0,
            .b2 = a * ((a + 1) - (a - 1) * cosine - root) / a0,
            .a1 = side * -2 * ((a - 1) + (a + 1) * cosine) / a0,
            .a2 = ((a + 1) + (a - 1) * cosine - root) / a0};
}

BiquadCoefficients sectionOf(const TargetFilter& filter) {
    const CookbookTerms terms(filter);
    if (filter.shape == TargetFilter::Shape::bell)
        return bell(terms);
    return shelf(terms, filter.shape == TargetFilter::Shape::lowShelf ? 1 : -1);
}

/// A channel's curve without its level, with its sections designed once.
class ChannelResponse {
public:
    explicit ChannelResponse(const TargetChannel& channel) : channel_(channel) {
        std::ranges::transform(channel.filters, std::back_inserter(sections_), sectionOf);
    }

    double gain(double frequency) const {
        const SampleDelay delay(frequency, kFitSampleRate);
        double sum = 0;
        for (const BiquadCoefficients& section : sections_)
            sum += sectionGain(section, delay);
        for (const GraphicCurve& curve : channel_.curves)
            sum += curve.gain(frequency);
        return sum;
    }

private:
    const TargetChannel& channel_;
    std::vector<BiquadCoefficients> sections_;
};

std::vector<double> sampled(std::span<const double> frequencies, const std::function<double(double)>& gain) {
    std::vector<double> values;
    std::ranges::transform(frequencies, std::back_inserter(values), gain);
    return values;
}

double largestDifference(std::span<const double> first, std::span<const double> second) {
    double largest = 0;
    for (std::size_t i = 0; i < first.size(); ++i)
        largest = std::max(largest, std::abs(first[i] - second[i]));
    return largest;
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

FittedCurve fitWithout(double level, std::vector<double> curve) {
    for (double& value : curve)
        value -= level;
    FittedCurve fit = fitBands(curve, CurveLevel::stays);
    fit.level = level;
    return fit;
}

/// Filters have a natural zero far from their centres. A curve of points has none: it may stand at any level.
/// Then the bands follow its shape. Of levels that are as good, the curve's own is taken first and its usual
/// one second, because they leave the gains where people expect them.
FittedCurve bestFit(const std::vector<double>& curve, bool mayStandAtAnyLevel) {
    constexpr double asGood = 0.05; // dB
    const FittedCurve asItStands = fitWithout(0, curve);
    if (!mayStandAtAnyLevel)
        return asItStands;
    const FittedCurve best = fitBands(curve, CurveLevel::isFree);
    if (asItStands.error.rms <= best.error.rms + asGood)
        return asItStands;
    const FittedCurve atUsualLevel = fitWithout(median(curve), curve);
    return atUsualLevel.error.rms <= best.error.rms + asGood ? atUsualLevel : best;
}

/// Beyond the frequencies of the fit.
const std::vector<double> kBelowTheFit{20, 25, 31.5};
const std::vector<double> kAboveTheFit{13000, 14000, 15000, 16000, 17000, 18000, 19000, 20000};

void remarkOnLevel(std::vector<PresetRemark>& remarks, double level) {
    if (std::abs(level) >= 0.05)
        remarks.push_back(
            {wordingKey(
                 "The file also changes the overall level by %1 dB. The bands cannot: use the volume."),
             oneDecimal(level)});
}

void remarkOnLimits(std::vector<PresetRemark>& remarks, const EQPreset::Gains& gains) {
    std::string bands;
    for (std::size_t band = 0; band < gains.size(); ++band)
        if (std::abs(gains[band]) >= kLargestFittedGain)
            bands.append(bands.empty() ? "" : ", ").append(EQSettings::bandLabel(band));
    if (!bands.empty())
        remarks.push_back({wordingKey("These bands are at their limit of 12 dB: %1."), bands});
}

class Fitting {
public:
    explicit Fitting(TargetCurve target)
        : target_(std::move(target)), left_(target_.left), right_(target_.right) {}

    ImportedPreset run() {
        const auto [gains, level, error] = bestFit(mean(fitFrequencies()), hasPoints());
        remarkOnChannels();
        remarkOnLevel(target_.remarks, level + (target_.left.level + target_.right.level) / 2);
        remarkOnLimits(target_.remarks, gains);
        remarkOnRange(gains, level, kBelowTheFit,
                      wordingKey("Below 40 Hz, where there is no band, the file differs by up to %1 dB."));
        remarkOnRange(gains, level, kAboveTheFit,
                      wordingKey("Above 12 kHz, where there is no band, the file differs by up to %1 dB."));
        return {.bandGains = gains, .error = error, .remarks = std::move(target_.remarks)};
    }

private:
    bool hasPoints() const { return !target_.left.curves.empty() || !target_.right.curves.empty(); }

    std::vector<double> mean(std::span<const double> frequencies) const {
        return sampled(frequencies, [this](double frequency) {
            return (left_.gain(frequency) + right_.gain(frequency)) / 2;
        });
    }

    void remarkOnChannels() {
        const auto of = [](const ChannelResponse& channel, double level) {
            return sampled(fitFrequencies(),
                           [&](double frequency) { return channel.gain(frequency) + level; });
        };
        const double difference =
            largestDifference(of(left_, target_.left.level), of(right_, target_.right.level));
        if (difference >= 0.05)
            target_.remarks.push_back(
                {wordingKey("Left and right differ by up to %1 dB. The curve is the mean of both."),
                 oneDecimal(difference)});
    }

    void remarkOnRange(const EQPreset::Gains& gains, double level, std::span<const double> frequencies,
                       std::string_view english) {
        const auto bands =
            sampled(frequencies, [&](double frequency) { return bandsResponse(gains, frequency) + level; });
        const double difference = largestDifference(bands, mean(frequencies));
        if (difference >= 1)
            target_.remarks.push_back({english, oneDecimal(difference)});
    }

    TargetCurve target_;
    ChannelResponse left_, right_;
};

} // namespace

double qualityOfSlope(double slope, double gain) {
    const double amplitude = std::pow(10.0, std::abs(gain) / 40);
    const double square = (amplitude + 1 / amplitude) * (1 / slope - 1) + 2;
    return 1 / std::sqrt(std::max(square, 0.01));
}

double qualityOfBandwidth(double octaves) {
    return std::sqrt(std::exp2(octaves)) / (std::exp2(octaves) - 1);
}

GraphicCurve::GraphicCurve(std::vector<Point> points) : points_(std::move(points)) {
    for (Point& point : points_)
        point.first = std::log(point.first);
    std::ranges::stable_sort(points_, {}, &Point::first);
}

double GraphicCurve::gain(double frequency) const {
    const double position = std::log(frequency);
    const auto next = std::ranges::upper_bound(points_, position, {}, &Point::first);
    if (next == points_.begin())
        return next->second;
    const auto last = std::prev(next);
    if (next == points_.end())
        return last->second;
    const double part = (position - last->first) / (next->first - last->first);
    return std::lerp(last->second, next->second, part);
}

ImportedPreset fittedPreset(TargetCurve target) {
    return Fitting(std::move(target)).run();
}

std::string oneDecimal(double number) {
    char digits[64];
    const auto [end, error] =
        std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed, 1);
    return error == std::errc() ? std::string(digits, end) : "?";
}

std::optional<double> decimalNumber(std::string_view text) {
    std::string digits(text.starts_with('+') ? text.substr(1) : text);
    if (digits.find('.') == std::string::npos)
        if (const auto comma = digits.find(','); comma != std::string::npos)
            digits[comma] = '.';
    double number = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    return error == std::errc() && stop == end && std::isfinite(number) ? std::optional(number)
                                                                        : std::nullopt;
}

std::string quotedPart(std::string_view text) {
    constexpr std::size_t mostBytes = 40;
    return "“" + escapedForOneLine(text, mostBytes) + "”";
}

} // namespace vello
