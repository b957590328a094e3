// SPDX-License-Identifier: Apache-2.0
#include "UI/BandSliderShape.h"

namespace vello {

void BandSliderShape::setHeight(double height) {
    if (height == height_)
        return;
    height_ = height;
    emit changed();
}

void BandSliderShape::setGain(double gain) {
    if (gain == gain_)
        return;
    gain_ = gain;
    emit changed();
}

} // namespace vello
