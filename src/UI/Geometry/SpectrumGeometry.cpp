// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/SpectrumGeometry.h"

#include <algorithm>
#include <array>

namespace vello {
namespace {

constexpr std::array<HueSaturationBrightness, 8> kGlowPalette{{
    {0.03, 0.37, 0.95},
    {0.08, 0.37, 0.95},
    {0.13, 0.33, 0.92},
    {0.24, 0.31, 0.90},
    {0.40, 0.31, 0.90},
    {0.52, 0.33, 0.92},
    {0.60, 0.35, 0.94},
    {0.70, 0.33, 0.94},
}};

/// 0 for NaN.
double clampedToUnit(float value) noexcept {
    return value > 0.0F ? std::min(static_cast<double>(value), 1.0) : 0.0;
}

} // namespace

SpectrumGeometry::Bar SpectrumGeometry::bar(std::size_t index, float magnitude) const {
    const auto count = static_cast<double>(barCount);
    const double share = std::max(0.0, (width - spacing * (count - 1.0)) / count);
    const double shown = clampedToUnit(magnitude);
    return {static_cast<double>(index) * (share + spacing), share, shown * height, fullOpacity * shown};
}

HueSaturationBrightness bandColor(std::size_t index) noexcept {
    return kGlowPalette[std::min(index, kGlowPalette.size() - 1)];
}

double meterFill(float level) noexcept {
    return clampedToUnit(level);
}

} // namespace vello
