// SPDX-License-Identifier: Apache-2.0
#include "UI/VerticalDBSliderShape.h"

namespace vello {

void VerticalDBSliderShape::setHeight(double height) {
    if (height == height_)
        return;
    height_ = height;
    emit changed();
}

void VerticalDBSliderShape::setGain(double gain) {
    if (gain == gain_)
        return;
    gain_ = gain;
    emit changed();
}

} // namespace vello
