// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

namespace vello {

/// One line of text that scrolls through a viewport when it does not fit. Lengths are points, times are
/// seconds.
struct MarqueeGeometry {
    static constexpr double pointsPerSecond = 18.4;
    static constexpr double edgeFadeWidth = 8.0;

    double textWidth = 0.0;
    double viewportWidth = 0.0;

    bool overflows() const { return viewportWidth < textWidth; }
    /// Share of the viewport that fades at each edge. Absent while the text fits, or when the viewport is too
    /// narrow for two fades.
    std::optional<double> edgeFade() const;
    /// Offset of the text's leading edge from the viewport's. The text leaves on the left and re-enters from
    /// the right, without a pause. `elapsed` counts from the start of the motion.
    double marqueeOffset(double elapsed) const;
};

} // namespace vello
