// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

/// Where the parts of a vertical gain slider stand and what a pointer on it means. Lengths are points,
/// measured from the top; gains are dB.
struct VerticalDBSliderGeometry {
    static constexpr double width = 26.0;
    /// The zero mark reaches this far beyond the track on either side.
    static constexpr double zeroMarkOverhang = 4.0;

    double height = 132.0;
    double lower = -12.0;
    double upper = 12.0;
    double trackWidth = 5.0;
    double thumbDiameter = 19.5;
    double thumbDotDiameter = 6.0;
    /// A dragged gain of a smaller magnitude becomes exactly 0 dB.
    double zeroSnapWindow = 0.6;

    struct Bar {
        double centre = 0.0;
        double height = 0.0;
    };

    /// Of the zero mark and of the value bar's origin: the middle, which is 0 dB for a symmetric range.
    double middle() const { return height / 2.0; }
    double zeroMarkWidth() const { return trackWidth + 2.0 * zeroMarkOverhang; }
    double position(double gain) const;
    /// Centre of the thumb, which stays inside the slider.
    double thumbCentre(double gain) const;
    /// From the middle to the gain, and never shorter than the track is wide.
    Bar valueBar(double gain) const;

    /// What a pointer at `position` sets: any value of the range, but 0 inside the snap window. Beyond an end
    /// it is that end.
    double draggedGain(double position) const;
    /// One step of `decibels` up or down, inside the range. Neither snaps nor rounds.
    double steppedGain(double gain, double decibels) const;
};

/// The number that a screen reader says for a gain; halves are rounded away from zero.
int spokenDecibels(double gain);

} // namespace vello
