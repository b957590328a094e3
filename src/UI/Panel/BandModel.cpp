// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/BandModel.h"

#include "Models/EQSettings.h"
#include "UI/Geometry/EQPanelTexts.h"
#include "UI/Geometry/VerticalDBSliderGeometry.h"

#include <QLocale>

#include <algorithm>
#include <cmath>

namespace vello {
namespace {

QString textOf(double gain) {
    return QString::fromStdString(decibelText(gain, QLocale().name().toStdString()));
}

} // namespace

BandModel::BandModel(std::size_t band, QObject* parent)
    : QObject(parent), label_(QString::fromStdString(EQSettings::bandLabel(band))),
      frequencyText_(QString::fromStdString(vello::frequencyText(EQSettings::bandFrequencies[band]))) {}

QString BandModel::gainText() const {
    return textOf(gain_);
}

QString BandModel::widestGainText() {
    return textOf(VerticalDBSliderGeometry{}.lower);
}

void BandModel::show(double gain, bool glides) {
    if (gain == gain_)
        return;
    setGliding(glides);
    gain_ = gain;
    emit gainChanged();
}

void BandModel::showInForce(double gain, bool glides) {
    if (gain == gainInForce_)
        return;
    setGlidingInForce(glides);
    gainInForce_ = gain;
    emit gainInForceChanged();
}

void BandModel::setGliding(bool isGliding) {
    if (isGliding == isGliding_)
        return;
    isGliding_ = isGliding;
    emit glidingChanged();
}

void BandModel::setGlidingInForce(bool isGliding) {
    if (isGliding == isGlidingInForce_)
        return;
    isGlidingInForce_ = isGliding;
    emit glidingInForceChanged();
}

void BandModel::edit(double decibels) {
    if (std::isnan(decibels))
        return;
    const VerticalDBSliderGeometry slider;
    setGliding(false);
    emit edited(std::clamp(decibels, slider.lower, slider.upper));
}

} // namespace vello
