// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QColor>

namespace vello {

inline constexpr double kSmallestFontScale = 1.0;
/// The panel keeps its width: larger text would show less, not more.
inline constexpr double kLargestFontScale = 2.0;

/// The user's appearance choices for all applications.
struct Appearance {
    bool isDark = false;
    /// Invalid when the desktop has no accent; VELLO then uses its own.
    QColor accent = {};
    bool isContrastIncreased = false;
    bool isMotionReduced = false;
    bool isTransparencyReduced = false;
    bool isRightToLeft = false;
    /// Scale of text, from kSmallestFontScale to kLargestFontScale; 1 is a body text of 13 points.
    double fontScale = 1.0;

    friend bool operator==(const Appearance&, const Appearance&) = default;
};

} // namespace vello
