// SPDX-License-Identifier: Apache-2.0
#include "VerticalDBSliderShape.h"

#include <algorithm>

namespace vello {

void VerticalDBSliderShape::setHeight(double height) {
    if (height == height_)
        return;
    height_ = height;
    emit changed();
}

void VerticalDBSliderShape::setGain(double gain) {
    const double shown = std::clamp(gain, lower(), upper());
    if (shown == gain_)
        return;
    gain_ = shown;
    emit changed();
}

} // namespace vello
