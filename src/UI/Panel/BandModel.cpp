// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/BandModel.h"

#include "UI/Geometry/VerticalDBSliderGeometry.h"

#include <algorithm>
#include <cmath>

namespace vello {

void BandModel::show(double gain, bool glides) {
    if (gain == gain_)
        return;
    setGliding(glides);
    gain_ = gain;
    emit gainChanged();
}

void BandModel::setGliding(bool isGliding) {
    if (isGliding == isGliding_)
        return;
    isGliding_ = isGliding;
    emit glidingChanged();
}

void BandModel::edit(double decibels) {
    if (std::isnan(decibels))
        return;
    const VerticalDBSliderGeometry slider;
    setGliding(false);
    emit edited(std::clamp(decibels, slider.lower, slider.upper));
}

} // namespace vello
