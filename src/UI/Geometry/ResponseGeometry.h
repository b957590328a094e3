// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>

namespace vello {

/// Whether the bands have the response of their filter behind them.
inline constexpr bool kShowsResponse = true;

/// The curve behind the bands: the gain of the filter at each frequency. A band's frequency is in the middle
/// of its column and gains are at the height of the sliders' marks. Lengths are points from the top left
/// corner.
struct ResponseGeometry {
    static constexpr double lowestFrequency = 40.0;     ///< Hz, at the left edge
    static constexpr double highestFrequency = 16000.0; ///< Hz, at the right edge
    static constexpr double lineWidth = 1.5;
    /// The curve sets in and ends gradually over this length.
    static constexpr double fadeWidth = 14.0;
    /// The area between the curve and 0 dB has this share of the curve's opacity.
    static constexpr double fillShare = 0.18;

    double width = 0.0;
    double height = 0.0;

    /// Linear in the logarithm of the frequency between two bands, and between the outer bands and the edges.
    double horizontal(double frequency) const;
    /// Gains beyond the sliders' range are at its end.
    double vertical(double gain) const;
};

/// The frequencies in Hz at which the curve is computed, from the lowest to the highest one.
std::span<const double> responseFrequencies();

} // namespace vello
