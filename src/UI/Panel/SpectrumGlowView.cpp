// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/SpectrumGlowView.h"

#include "UI/Geometry/SpectrumGeometry.h"
#include "UI/Panel/ImageBlur.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace vello {
namespace {

/// The blur removes detail, so a low resolution is enough.
constexpr double kPixelsPerPoint = 0.5;

QColor barColor(std::size_t index, double saturation) {
    const HueSaturationBrightness color = bandColor(index);
    const QColor full = QColor::fromHsvF(static_cast<float>(color.hue), static_cast<float>(color.saturation),
                                         static_cast<float>(color.brightness));
    const float grey = 0.2126F * full.redF() + 0.7152F * full.greenF() + 0.0722F * full.blueF();
    const auto share = static_cast<float>(std::clamp(saturation, 0.0, 1.0));
    const auto mix = [&](float channel) { return grey + (channel - grey) * share; };
    return QColor::fromRgbF(mix(full.redF()), mix(full.greenF()), mix(full.blueF()));
}

} // namespace

double SpectrumGlowView::bleed() {
    return std::ceil(3.0 * SpectrumGeometry::blurRadius);
}

void SpectrumGlowView::setMagnitudes(const QList<float>& magnitudes) {
    if (magnitudes == magnitudes_)
        return;
    magnitudes_ = magnitudes;
    emit magnitudesChanged();
    update();
}

void SpectrumGlowView::setSaturation(double saturation) {
    if (saturation == saturation_)
        return;
    saturation_ = saturation;
    emit saturationChanged();
    update();
}

void SpectrumGlowView::setReduceTransparency(bool reduceTransparency) {
    if (reduceTransparency == reduceTransparency_)
        return;
    reduceTransparency_ = reduceTransparency;
    emit reduceTransparencyChanged();
    update();
}

QImage SpectrumGlowView::glow(double scale) const {
    QImage image((size() * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    const SpectrumGeometry geometry{.width = width() - 2.0 * bleed(),
                                    .height = height() - 2.0 * bleed(),
                                    .barCount = static_cast<std::size_t>(magnitudes_.size())};
    const double bottom = height() - bleed();
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.scale(scale, scale);
    for (qsizetype index = 0; index < magnitudes_.size(); ++index) {
        const auto place = static_cast<std::size_t>(index);
        const SpectrumGeometry::Bar bar = geometry.bar(place, magnitudes_[index]);
        const double round = std::min(bar.width, bar.height) / 2.0;
        painter.setBrush(barColor(place, saturation_));
        painter.setOpacity(bar.opacity / SpectrumGeometry::fullOpacity);
        painter.drawRoundedRect(QRectF(bleed() + bar.left, bottom - bar.height, bar.width, bar.height), round,
                                round);
    }
    painter.end();
    blur(image, SpectrumGeometry::blurRadius * scale);
    return image;
}

void SpectrumGlowView::paint(QPainter* painter) {
    const bool isSilent = std::ranges::none_of(magnitudes_, [](float magnitude) { return magnitude > 0.0F; });
    if (reduceTransparency_ || isSilent || width() < 1.0 || height() < 1.0)
        return;
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->setOpacity(SpectrumGeometry::fullOpacity);
    painter->drawImage(QRectF(0.0, 0.0, width(), height()), glow(kPixelsPerPoint));
}

} // namespace vello
