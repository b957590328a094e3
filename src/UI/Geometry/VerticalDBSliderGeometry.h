// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

/// Positions of the parts of a vertical gain slider, and the gain at a pointer position. Lengths are points
/// from the top; gains are dB.
struct VerticalDBSliderGeometry {
    static constexpr double width = 26.0;
    /// The zero mark extends this far beyond the track on either side.
    static constexpr double zeroMarkOverhang = 4.0;

    double height = 132.0;
    double lower = -12.0;
    double upper = 12.0;
    double trackWidth = 5.0;
    double thumbDiameter = 19.5;
    double thumbDotDiameter = 6.0;
    /// A dragged gain with a smaller magnitude snaps to exactly 0 dB.
    double zeroSnapWindow = 0.6;

    struct Bar {
        double centre = 0.0;
        double height = 0.0;
    };

    /// Position of the zero mark and of the value bar's origin: the middle, which is 0 dB for a symmetric
    /// range.
    double middle() const { return height / 2.0; }
    double zeroMarkWidth() const { return trackWidth + 2.0 * zeroMarkOverhang; }
    double position(double gain) const;
    /// Centre of the thumb. The thumb stays inside the slider.
    double thumbCentre(double gain) const;
    /// From the middle to the gain, at least as long as the track is wide.
    Bar valueBar(double gain) const;

    /// The gain at a pointer `position`: any value of the range, 0 inside the snap window, the nearest end
    /// beyond the range.
    double draggedGain(double position) const;
    /// The gain after one step of `decibels` up or down, clamped to the range. Does not snap or round.
    double steppedGain(double gain, double decibels) const;
};

/// The number that a screen reader speaks for a gain; halves are rounded away from zero.
int spokenDecibels(double gain);

} // namespace vello
