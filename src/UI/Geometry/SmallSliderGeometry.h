// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>

namespace vello {

/// Positions of the parts of a small horizontal slider, and the effect of its keys. Lengths are points;
/// levels and positions run from 0 to 1.
struct SmallSliderGeometry {
    static constexpr double trackHeight = 4.0;
    static constexpr double thumbDiameter = 15.0;
    static constexpr double step = 0.01; ///< level change of an arrow key
    static constexpr double page = 0.05; ///< level change of a Page key

    double width = 100.0;
    /// The slider starts at the right.
    bool isMirrored = false;

    struct Bar {
        double left = 0.0;
        double width = 0.0;
    };

    /// Left edge of the thumb at `position`. The thumb stays inside the slider.
    double thumbLeft(double position) const {
        return (isMirrored ? 1.0 - position : position) * (width - thumbDiameter);
    }
    /// From the slider's start to the centre of the thumb.
    Bar valueBar(double position) const {
        const double centre = thumbLeft(position) + thumbDiameter / 2.0;
        return isMirrored ? Bar{centre, width - centre} : Bar{0.0, centre};
    }

    /// The nearest level that the slider can show.
    static double shownLevel(double level) { return std::clamp(level, 0.0, 1.0); }
    /// The level after a `change` up or down, clamped to the range.
    static double movedLevel(double level, double change) { return shownLevel(level + change); }
};

} // namespace vello
