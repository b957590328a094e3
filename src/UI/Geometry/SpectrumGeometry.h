// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace vello {

/// The glow behind the bands: one bar for each magnitude, side by side on a common bottom line. Lengths are
/// points.
struct SpectrumGeometry {
    static constexpr double spacing = 6.0;
    static constexpr double blurRadius = 5.0;
    /// Opacity of a bar at full magnitude.
    static constexpr double fullOpacity = 0.18;

    double width = 0.0;
    double height = 0.0;
    std::size_t barCount = 0;

    struct Bar {
        double left = 0.0;
        double width = 0.0;
        double height = 0.0; ///< from the bottom up
        double opacity = 0.0;
    };
    /// `magnitude` is clamped to 0 to 1.
    Bar bar(std::size_t index, float magnitude) const;
};

/// Each component is 0 to 1.
struct HueSaturationBrightness {
    double hue = 0.0;
    double saturation = 0.0;
    double brightness = 0.0;

    friend bool operator==(const HueSaturationBrightness&, const HueSaturationBrightness&) = default;
};

/// From warm for the lowest band to cool for the highest. Indices beyond have the last colour.
HueSaturationBrightness bandColor(std::size_t index) noexcept;

/// Filled share of a level meter, 0 to 1.
double meterFill(float level) noexcept;

} // namespace vello
