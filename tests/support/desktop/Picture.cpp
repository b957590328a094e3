// SPDX-License-Identifier: Apache-2.0
#include "Picture.h"

#include <algorithm>
#include <cstdlib>

namespace vello::session {
namespace {

/// Minimum difference in any channel for two pixels to count as different.
constexpr int kVisibleDifference = 24;

bool differs(QRgb one, QRgb other) {
    return std::max({std::abs(qRed(one) - qRed(other)), std::abs(qGreen(one) - qGreen(other)),
                     std::abs(qBlue(one) - qBlue(other))}) > kVisibleDifference;
}

} // namespace

QRect drawnOn(const QImage& picture) {
    const QRgb background = picture.pixel(0, 0);
    QRect result;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            if (differs(picture.pixel(x, y), background))
                result |= QRect(x, y, 1, 1);
    return result;
}

} // namespace vello::session
