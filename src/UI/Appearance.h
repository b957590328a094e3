// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QColor>

namespace vello {

/// What the user chose for the looks of all applications.
struct Appearance {
    bool isDark = false;
    /// Invalid: the desktop has none; the product's own is used.
    QColor accent = {};
    bool isContrastIncreased = false;
    bool isMotionReduced = false;
    bool isTransparencyReduced = false;
    /// Of text, 1 for a body text of 13 points.
    double fontScale = 1.0;

    friend bool operator==(const Appearance&, const Appearance&) = default;
};

} // namespace vello
