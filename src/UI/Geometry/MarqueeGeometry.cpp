// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/MarqueeGeometry.h"

#include <algorithm>
#include <cmath>

namespace vello {

std::optional<double> MarqueeGeometry::edgeFade() const {
    if (!overflows() || 2.0 * edgeFadeWidth >= viewportWidth)
        return std::nullopt;
    return edgeFadeWidth / viewportWidth;
}

double MarqueeGeometry::marqueeOffset(double elapsed) const {
    const double distance = std::max(0.0, elapsed) * pointsPerSecond;
    const double passed = std::fmod(distance, textWidth + viewportWidth);
    return passed <= textWidth ? -passed : viewportWidth - (passed - textWidth);
}

} // namespace vello
