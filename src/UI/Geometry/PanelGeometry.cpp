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
    return textSize * kSymbolSidePerSize;
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

PanelPoint PanelPlacement::beside(const PanelRectangle& icon) const {
    const PanelPoint centre = icon.centre();
    const double besideY = centre.y - panel.height / 2.0;
    if (centre.x < available.x)
        return clamped({available.x + gap, besideY});
    if (centre.x > available.right())
        return clamped({available.right() - gap - panel.width, besideY});

    const double x = centre.x - panel.width / 2.0;
    if (centre.y < available.centre().y)
        return clamped({x, std::max(icon.bottom(), available.y) + gap});
    return clamped({x, std::min(icon.y, available.bottom()) - gap - panel.height});
}

bool PanelPlacement::growsUpwards(const PanelRectangle& icon) const {
    const PanelPoint corner = beside(icon);
    return corner.y + panel.height / 2.0 < icon.centre().y && corner.y + panel.height > available.centre().y;
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
