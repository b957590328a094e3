// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/PanelGeometry.h"

#include <algorithm>
#include <cmath>

namespace vello {
namespace {

constexpr double kSymbolSidePerSize = 1.3;
/// Width of three digits, or of a sign and two.
constexpr double kNumberWidthPerSize = 1.85;
constexpr double kSmallestNumberSize = 8.0;

} // namespace

double listHeight(double contentHeight, double room) noexcept {
    const double largest = std::clamp(room, kMinimumListHeight, kMaximumListHeight);
    return std::clamp(contentHeight, kMinimumListHeight, largest);
}

double titleScale(double expansion) noexcept {
    return 1.0 - 0.18 * expansion;
}

double titleOpacity(double expansion) noexcept {
    return 1.0 - 0.5 * expansion;
}

double symbolSide(double textSize) noexcept {
    return std::round(textSize * kSymbolSidePerSize);
}

double symbolSize(double textSize, double side) noexcept {
    return std::min(textSize, side / kSymbolSidePerSize);
}

int numberSize(int largest, double width) noexcept {
    const double fitting = std::floor(width / kNumberWidthPerSize);
    return static_cast<int>(std::max(kSmallestNumberSize, std::min<double>(largest, fitting)));
}

double numberWidth(int size) noexcept {
    return std::ceil(size * kNumberWidthPerSize);
}

std::optional<ScreenCorner> screenCorner(std::string_view name) {
    if (name == "top-left")
        return ScreenCorner::topLeft;
    if (name == "top-right")
        return ScreenCorner::topRight;
    if (name == "bottom-left")
        return ScreenCorner::bottomLeft;
    if (name == "bottom-right")
        return ScreenCorner::bottomRight;
    return std::nullopt;
}

bool isLeft(ScreenCorner corner) noexcept {
    return corner == ScreenCorner::topLeft || corner == ScreenCorner::bottomLeft;
}

bool isTop(ScreenCorner corner) noexcept {
    return corner == ScreenCorner::topLeft || corner == ScreenCorner::topRight;
}

std::optional<ScreenEdge> barEdge(const PanelRectangle& screen, const PanelRectangle& available) {
    if (available.y > screen.y)
        return ScreenEdge::top;
    if (available.bottom() < screen.bottom())
        return ScreenEdge::bottom;
    if (available.x > screen.x)
        return ScreenEdge::left;
    if (available.right() < screen.right())
        return ScreenEdge::right;
    return std::nullopt;
}

ScreenCorner statusCorner(ScreenEdge bar, bool isRightToLeft) noexcept {
    switch (bar) {
    case ScreenEdge::top:
        return isRightToLeft ? ScreenCorner::topLeft : ScreenCorner::topRight;
    case ScreenEdge::bottom:
        return isRightToLeft ? ScreenCorner::bottomLeft : ScreenCorner::bottomRight;
    case ScreenEdge::left:
        return ScreenCorner::bottomLeft;
    case ScreenEdge::right:
        break;
    }
    return ScreenCorner::bottomRight;
}

/// A bar that reserves no room, or whose room is not known, is at the nearest edge.
ScreenEdge PanelPlacement::bar(const PanelRectangle& icon) const {
    const PanelPoint centre = icon.centre();
    if (centre.x < available.x)
        return ScreenEdge::left;
    if (centre.x > available.right())
        return ScreenEdge::right;
    const bool isLower = centre.y >= available.centre().y;
    const bool isRight = centre.x >= available.centre().x;
    const double fromHorizontal = isLower ? available.bottom() - centre.y : centre.y - available.y;
    const double fromVertical = isRight ? available.right() - centre.x : centre.x - available.x;
    if (fromVertical < fromHorizontal)
        return isRight ? ScreenEdge::right : ScreenEdge::left;
    return isLower ? ScreenEdge::bottom : ScreenEdge::top;
}

PanelPoint PanelPlacement::beside(const PanelRectangle& icon) const {
    const PanelPoint centre = icon.centre();
    const double besideX = centre.x - panel.width / 2.0;
    const double besideY = centre.y - panel.height / 2.0;
    switch (bar(icon)) {
    case ScreenEdge::left:
        return clamped({std::max(icon.right(), available.x) + gap, besideY});
    case ScreenEdge::right:
        return clamped({std::min(icon.x, available.right()) - gap - panel.width, besideY});
    case ScreenEdge::top:
        return clamped({besideX, std::max(icon.bottom(), available.y) + gap});
    case ScreenEdge::bottom:
        break;
    }
    return clamped({besideX, std::min(icon.y, available.bottom()) - gap - panel.height});
}

PanelAnchor PanelPlacement::anchor(const PanelRectangle& icon) const {
    const ScreenEdge edge = bar(icon);
    const PanelPoint place = beside(icon);
    const PanelPoint centre{place.x + panel.width / 2.0, place.y + panel.height / 2.0};
    const double fromLeft = place.x - available.x;
    const double fromTop = place.y - available.y;
    if (edge == ScreenEdge::left || edge == ScreenEdge::right) {
        const bool isLeft = edge == ScreenEdge::left;
        if (centre.y < available.centre().y)
            return {isLeft ? ScreenCorner::topLeft : ScreenCorner::topRight, gap, fromTop};
        return {isLeft ? ScreenCorner::bottomLeft : ScreenCorner::bottomRight, gap,
                available.height - fromTop - panel.height};
    }
    const bool isTop = edge == ScreenEdge::top;
    if (centre.x < available.centre().x)
        return {isTop ? ScreenCorner::topLeft : ScreenCorner::bottomLeft, fromLeft, gap};
    return {isTop ? ScreenCorner::topRight : ScreenCorner::bottomRight,
            available.width - fromLeft - panel.width, gap};
}

PanelPoint PanelPlacement::in(ScreenCorner corner) const {
    return clamped(
        {isLeft(corner) ? available.x : available.right(), isTop(corner) ? available.y : available.bottom()});
}

PanelPoint PanelPlacement::clamped(PanelPoint wanted) const {
    const double left = available.x + gap;
    const double top = available.y + gap;
    // When the panel is larger than the screen, its top left corner stays visible.
    return {std::max(left, std::min(wanted.x, available.right() - gap - panel.width)),
            std::max(top, std::min(wanted.y, available.bottom() - gap - panel.height))};
}

} // namespace vello
