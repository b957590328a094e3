// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>

namespace vello {

/// Lengths are points.
inline constexpr double kPanelWidth = 344.0;
inline constexpr double kMinimumListHeight = 52.0;
inline constexpr double kMaximumListHeight = 460.0;

/// Height of the list's viewport where the screen leaves `room` for it. It is never below the minimum, even
/// where the screen has no room.
double listHeight(double contentHeight, double room) noexcept;

/// Scale of the title while a card opens; `expansion` runs from 0 to 1 and may overshoot.
double titleScale(double expansion) noexcept;
double titleOpacity(double expansion) noexcept;

/// Side of a symbol's square beside a text of this size, chosen so that strokes look as heavy as letters. A
/// whole number, so that they fit the pixels.
double symbolSide(double textSize) noexcept;
/// `textSize`, or less where the symbol's square would be wider than `side`.
double symbolSize(double textSize, double side) noexcept;
/// Pixel size of the numbers at the bands: `largest`, or less, but at least 8, where the longest number would
/// be wider than `width`.
int numberSize(int largest, double width) noexcept;
/// Width of the longest number of this pixel size, in whole points.
double numberWidth(int size) noexcept;

struct PanelPoint {
    double x = 0.0;
    double y = 0.0;

    friend bool operator==(const PanelPoint&, const PanelPoint&) = default;
};
struct PanelSize {
    double width = 0.0;
    double height = 0.0;
};
struct PanelRectangle {
    double x = 0.0;
    double y = 0.0;
    double width = 0.0;
    double height = 0.0;

    double right() const { return x + width; }
    double bottom() const { return y + height; }
    PanelPoint centre() const { return {x + width / 2.0, y + height / 2.0}; }
};

enum class ScreenCorner { topLeft, topRight, bottomLeft, bottomRight };

inline constexpr std::string_view kScreenCornerNames = "top-left, top-right, bottom-left or bottom-right";
/// The corner with this name; absent for any other text.
std::optional<ScreenCorner> screenCorner(std::string_view name);
bool isLeft(ScreenCorner corner) noexcept;
bool isTop(ScreenCorner corner) noexcept;

enum class ScreenEdge { top, bottom, left, right };

/// The edge of `screen` with a bar, which leaves `available` of it. Where there are several, the bar that
/// usually has the status items: the top one, else the bottom one. Absent without a bar.
std::optional<ScreenEdge> barEdge(const PanelRectangle& screen, const PanelRectangle& available);
/// The corner where a bar at this edge usually has its status items.
ScreenCorner statusCorner(ScreenEdge bar, bool isRightToLeft) noexcept;

/// A corner of the screen, and how far from its two edges the panel is.
struct PanelAnchor {
    ScreenCorner corner = ScreenCorner::topRight;
    double horizontal = 0.0; ///< from the left or right edge
    double vertical = 0.0;   ///< from the top or bottom edge

    friend bool operator==(const PanelAnchor&, const PanelAnchor&) = default;
};

/// Places the panel on a screen. `available` is the part of the screen that no bar covers.
struct PanelPlacement {
    static constexpr double gap = 8.0; ///< distance to the bar with the icon and to the screen's edges

    PanelRectangle available;
    PanelSize panel;

    /// Top left corner of the panel next to `icon`: below or above it when its bar is horizontal, beside it
    /// when the bar is at the left or right edge; inside `available` as far as the panel fits.
    PanelPoint beside(const PanelRectangle& icon) const;
    /// The same place for a window system that keeps windows clear of bars by itself: distances are measured
    /// from the bar. The panel grows away from the corner, where it has the most room.
    PanelAnchor anchor(const PanelRectangle& icon) const;
    PanelPoint in(ScreenCorner corner) const;

private:
    ScreenEdge bar(const PanelRectangle& icon) const;
    PanelPoint clamped(PanelPoint wanted) const;
};

} // namespace vello
