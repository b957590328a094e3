// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QColor>

namespace vello {

inline constexpr double kSmallestFontScale = 1.0;
/// The panel keeps its width: with still larger texts it would show less, not more.
inline constexpr double kLargestFontScale = 2.0;

/// What the user chose for the looks of all applications.
struct Appearance {
    bool isDark = false;
    /// Invalid: the desktop has none; the product's own is used.
    QColor accent = {};
    bool isContrastIncreased = false;
    bool isMotionReduced = false;
    bool isTransparencyReduced = false;
    bool isRightToLeft = false;
    /// Of text, 1 for a body text of 13 points; from kSmallestFontScale to kLargestFontScale.
    double fontScale = 1.0;

    friend bool operator==(const Appearance&, const Appearance&) = default;
};

} // namespace vello
