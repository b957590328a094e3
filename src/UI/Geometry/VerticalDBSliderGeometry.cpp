// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/VerticalDBSliderGeometry.h"

#include <algorithm>
#include <cmath>

namespace vello {

double VerticalDBSliderGeometry::position(double gain) const {
    return height * (1.0 - (gain - lower) / (upper - lower));
}

double VerticalDBSliderGeometry::thumbCentre(double gain) const {
    const double radius = thumbDiameter / 2.0;
    return std::max(radius, std::min(position(gain), height - radius));
}

VerticalDBSliderGeometry::Bar VerticalDBSliderGeometry::valueBar(double gain) const {
    const double end = position(gain);
    return {(middle() + end) / 2.0, std::max(std::abs(end - middle()), trackWidth)};
}

double VerticalDBSliderGeometry::draggedGain(double position) const {
    const double fromTop = position / height;
    const double fraction = fromTop <= 0.0 ? 1.0 : 1.0 - std::min(fromTop, 1.0);
    const double gain = lower + (upper - lower) * fraction;
    return std::abs(gain) < zeroSnapWindow ? 0.0 : gain;
}

double VerticalDBSliderGeometry::steppedGain(double gain, double decibels) const {
    const double stepped = gain + decibels;
    return decibels < 0.0 ? std::max(stepped, lower) : std::min(stepped, upper);
}

int spokenDecibels(double gain) {
    constexpr double largest = 1e6; // settings from other sources may hold any number
    return static_cast<int>(std::lround(std::clamp(gain, -largest, largest)));
}

} // namespace vello
