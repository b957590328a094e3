// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/EQChainSnapshot.h"
#include "AudioEngine/Realtime/FilterResponse.h"
#include "PresetFiles/PresetFile.h"

#include <optional>
#include <string_view>
#include <utility>
#include <vector>

/// The curve that the file of another equalizer describes.
namespace vello {

/// A filter of another equalizer, by the "Cookbook formulae for audio EQ biquad filter coefficients"
/// (R. Bristow-Johnson).
struct TargetFilter {
    enum class Shape { bell, lowShelf, highShelf };

    Shape shape = Shape::bell;
    double frequency = 0; ///< Hz, above 0 and below half of kFitSampleRate
    double gain = 0;      ///< dB
    double quality = 1;   ///< Q, above 0
};

/// The Q of a shelf with the slope S of the cookbook: 1 is as steep as it can be without overshoot.
double qualityOfSlope(double slope, double gain);
/// The Q of a bell that is `octaves` wide.
double qualityOfBandwidth(double octaves);

/// A curve of points, linear in between on a logarithmic frequency scale and constant outside.
class GraphicCurve {
public:
    using Point = std::pair<double, double>; ///< Hz, above 0; dB

    /// At least one point, in any order. Of points with the same frequency the last is used.
    explicit GraphicCurve(std::vector<Point> points);
    double gain(double frequency) const;

private:
    std::vector<Point> points_; ///< logarithm of the frequency, gain
};

/// What a file does to one channel.
struct TargetChannel {
    std::vector<TargetFilter> filters = {};
    std::vector<GraphicCurve> curves = {};
    double level = 0; ///< dB, applied at every frequency

    bool isEmpty() const { return filters.empty() && curves.empty(); }
};

struct TargetCurve {
    TargetChannel left, right;
    std::vector<PresetRemark> remarks = {};
};

/// Fits the bands to the mean of both channels. Adds remarks about everything that the bands cannot do.
ImportedPreset fittedPreset(TargetCurve target);

// Limits of what is read. Anything outside is damage, not a curve.
inline constexpr double kLargestTargetGain = 200; ///< dB, in either direction
inline constexpr std::size_t kMostFilters = 1000;

/// Rounded to one decimal, for a remark.
std::string oneDecimal(double number);
/// A number in decimal notation with a point or a comma, finite.
std::optional<double> decimalNumber(std::string_view text);
/// A short part of the file in quotation marks, safe for one line.
std::string quotedPart(std::string_view text);

} // namespace vello
