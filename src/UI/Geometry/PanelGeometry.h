// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>

namespace vello {

/// Lengths are points.
inline constexpr double kPanelWidth = 344.0;
inline constexpr double kMinimumListHeight = 52.0;
inline constexpr double kMaximumListHeight = 460.0;

/// Height of the list's window onto its content.
double listHeight(double contentHeight) noexcept;

/// How the title recedes while a card is open; `expansion` runs from 0 to 1, and a little beyond in a swing.
double titleScale(double expansion) noexcept;
double titleOpacity(double expansion) noexcept;

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
/// The corner of one of these names; none for any other text.
std::optional<ScreenCorner> screenCorner(std::string_view name);
bool isLeft(ScreenCorner corner) noexcept;
bool isTop(ScreenCorner corner) noexcept;

/// Places the panel on a screen. `available` is the part of it that no bar covers.
struct PanelPlacement {
    static constexpr double gap = 8.0; ///< to the bar with the icon and to the screen's edges

    PanelRectangle available;
    PanelSize panel;

    /// Top left corner of the panel beside `icon`: under or over it where its bar is horizontal, beside it
    /// where the bar stands at the left or right edge, and inside `available` as far as the panel fits.
    PanelPoint beside(const PanelRectangle& icon) const;
    /// Whether a panel that stands beside `icon` has more room above than below.
    bool growsUpwards(const PanelRectangle& icon) const;
    PanelPoint in(ScreenCorner corner) const;

private:
    PanelPoint clamped(PanelPoint wanted) const;
};

} // namespace vello
