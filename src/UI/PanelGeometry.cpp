// SPDX-License-Identifier: Apache-2.0
#include "UI/PanelGeometry.h"

#include <algorithm>

namespace vello {

double listHeight(double contentHeight) noexcept {
    return std::clamp(contentHeight, kMinimumListHeight, kMaximumListHeight);
}

double titleScale(double expansion) noexcept {
    return 1.0 - 0.18 * expansion;
}

double titleOpacity(double expansion) noexcept {
    return 1.0 - 0.5 * expansion;
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

PanelPoint PanelPlacement::in(ScreenCorner corner) const {
    const bool isLeft = corner == ScreenCorner::topLeft || corner == ScreenCorner::bottomLeft;
    const bool isTop = corner == ScreenCorner::topLeft || corner == ScreenCorner::topRight;
    return clamped({isLeft ? available.x : available.right(), isTop ? available.y : available.bottom()});
}

PanelPoint PanelPlacement::clamped(PanelPoint wanted) const {
    const double left = available.x + gap;
    const double top = available.y + gap;
    // Where the panel is larger than the screen its top left corner counts.
    return {std::max(left, std::min(wanted.x, available.right() - gap - panel.width)),
            std::max(top, std::min(wanted.y, available.bottom() - gap - panel.height))};
}

} // namespace vello
