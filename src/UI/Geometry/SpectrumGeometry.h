// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace vello {

/// The glow behind the bands: a bar for each magnitude, side by side on one bottom line. Lengths are points.
struct SpectrumGeometry {
    static constexpr double spacing = 6.0;
    static constexpr double blurRadius = 5.0;
    /// Of a bar at full magnitude.
    static constexpr double fullOpacity = 0.18;

    double width = 0.0;
    double height = 0.0;
    std::size_t barCount = 0;

    struct Bar {
        double left = 0.0;
        double width = 0.0;
        double height = 0.0; ///< up from the bottom
        double opacity = 0.0;
    };
    /// Any magnitude counts as the nearest of 0 to 1.
    Bar bar(std::size_t index, float magnitude) const;
};

/// Each 0 to 1.
struct HueSaturationBrightness {
    double hue = 0.0;
    double saturation = 0.0;
    double brightness = 0.0;

    friend bool operator==(const HueSaturationBrightness&, const HueSaturationBrightness&) = default;
};

/// Warm for the lowest band to cool for the highest; every index beyond has the last colour.
HueSaturationBrightness bandColor(std::size_t index) noexcept;

/// Share of a level meter that is filled, 0 to 1.
double meterFill(float level) noexcept;

} // namespace vello
