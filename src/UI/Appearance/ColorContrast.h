// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QColor>

#include <span>

namespace vello {

/// How well a small text can be told from its ground, and a mark or a control from its own (WCAG 2.1, 1.4.3
/// and 1.4.11), and a text when the user asks for more contrast (1.4.6).
inline constexpr double kTextContrast = 4.5;
inline constexpr double kMarkContrast = 3.0;
inline constexpr double kIncreasedContrast = 7.0;

/// What is seen of `top` on an opaque `ground`.
QColor laidOver(const QColor& top, const QColor& ground);

/// From 1 (alike) to 21 (black and white), by the relative luminance of WCAG 2.1. Both colours are opaque.
double contrastRatio(const QColor& one, const QColor& other);

/// `ink`, made lighter on dark grounds and darker on light ones just so far that it has `ratio` to each of
/// them; white or black where not even these have. All colours are opaque; there is a ground.
QColor standingOut(const QColor& ink, std::span<const QColor> grounds, double ratio);

} // namespace vello
