// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/ResponseGeometry.h"

#include "Models/EQSettings.h"
#include "UI/Geometry/SpectrumGeometry.h"
#include "UI/Geometry/VerticalDBSliderGeometry.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vello {
namespace {

constexpr std::size_t kPoints = 129;
constexpr std::size_t kMarkCount = EQSettings::bandCount + 2;

/// The frequencies with a fixed place: the edges and the bands between them.
constexpr std::array<double, kMarkCount> marks() {
    std::array<double, kMarkCount> marks{};
    marks.front() = ResponseGeometry::lowestFrequency;
    std::ranges::copy(EQSettings::bandFrequencies, marks.begin() + 1);
    marks.back() = ResponseGeometry::highestFrequency;
    return marks;
}

std::array<double, kPoints> logarithmicSteps() {
    std::array<double, kPoints> steps{};
    const double range = ResponseGeometry::highestFrequency / ResponseGeometry::lowestFrequency;
    for (std::size_t i = 0; i < kPoints; ++i)
        steps[i] = ResponseGeometry::lowestFrequency *
                   std::pow(range, static_cast<double>(i) / static_cast<double>(kPoints - 1));
    return steps;
}

} // namespace

double ResponseGeometry::horizontal(double frequency) const {
    static constexpr auto frequencies = marks();
    const SpectrumGeometry columns{.width = width, .height = height, .barCount = EQSettings::bandCount};
    const auto place = [&](std::size_t mark) {
        if (mark == 0 || mark + 1 == kMarkCount)
            return mark == 0 ? 0.0 : width;
        const SpectrumGeometry::Bar column = columns.bar(mark - 1, 0.0F);
        return column.left + column.width / 2.0;
    };
    const auto* const above = std::upper_bound(frequencies.begin() + 1, frequencies.end() - 1, frequency);
    const auto upper = static_cast<std::size_t>(above - frequencies.begin());
    const double share =
        std::log(frequency / frequencies[upper - 1]) / std::log(frequencies[upper] / frequencies[upper - 1]);
    return std::lerp(place(upper - 1), place(upper), share);
}

double ResponseGeometry::vertical(double gain) const {
    const VerticalDBSliderGeometry slider{.height = height};
    return slider.position(std::clamp(gain, slider.lower, slider.upper));
}

std::span<const double> responseFrequencies() {
    static const auto frequencies = logarithmicSteps();
    return frequencies;
}

} // namespace vello
