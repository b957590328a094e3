// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

namespace vello {

/// One line of text in a viewport, which passes through it when it does not fit. Lengths are points, times
/// seconds.
struct MarqueeGeometry {
    static constexpr double pointsPerSecond = 18.4;
    static constexpr double edgeFadeWidth = 8.0;
    static constexpr double tickInterval = 1.0 / 30.0;

    double textWidth = 0.0;
    double viewportWidth = 0.0;

    bool overflows() const { return viewportWidth < textWidth; }
    /// Share of the viewport that fades at each edge; nothing while the text fits, or where the viewport is
    /// too narrow for two fades.
    std::optional<double> edgeFade() const;
    /// Of the text's leading edge from the viewport's: out to the left, then in again from the right, without
    /// a pause. `elapsed` since the text began to move.
    double marqueeOffset(double elapsed) const;
};

} // namespace vello
