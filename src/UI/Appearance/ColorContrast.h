// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QColor>

#include <span>

namespace vello {

/// Minimum contrast ratios of WCAG 2.1: of small text (1.4.3), of a mark or a control (1.4.11), and of text
/// when the user asks for more contrast (1.4.6).
inline constexpr double kTextContrast = 4.5;
inline constexpr double kMarkContrast = 3.0;
inline constexpr double kIncreasedContrast = 7.0;

/// The visible colour of `top` on an opaque `ground`.
QColor laidOver(const QColor& top, const QColor& ground);

/// Contrast ratio from 1 (equal) to 21 (black on white), by the relative luminance of WCAG 2.1. Both colours
/// are opaque.
double contrastRatio(const QColor& one, const QColor& other);

/// `ink`, made lighter on dark grounds and darker on light ones by just enough to have `ratio` to each
/// ground. White or black when even these do not reach `ratio`. All colours are opaque; `grounds` is not
/// empty.
QColor standingOut(const QColor& ink, std::span<const QColor> grounds, double ratio);

} // namespace vello
