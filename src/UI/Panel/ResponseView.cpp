// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/ResponseView.h"

#include "Models/EQSettings.h"
#include "UI/Geometry/ResponseGeometry.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPolygonF>

#include <algorithm>

namespace vello {
namespace {

/// Of the sample rate: a little below half of it, where no filter has a response.
constexpr double kHighestShare = 0.49;

} // namespace

void ResponseView::setGains(const QList<double>& gains) {
    if (gains == gains_)
        return;
    gains_ = gains;
    emit gainsChanged();
    update();
}

void ResponseView::setSampleRate(double sampleRate) {
    if (sampleRate == sampleRate_)
        return;
    sampleRate_ = sampleRate;
    curve_.reset();
    if (sampleRate_ > 0.0) {
        std::vector<double> frequencies(responseFrequencies().begin(), responseFrequencies().end());
        // A slow device carries nothing above; the curve stays where it ends.
        for (double& frequency : frequencies)
            frequency = std::min(frequency, kHighestShare * sampleRate_);
        curve_.emplace(frequencies, sampleRate_);
    }
    emit sampleRateChanged();
    update();
}

void ResponseView::setColor(const QColor& color) {
    if (color == color_)
        return;
    color_ = color;
    emit colorChanged();
    update();
}

std::vector<double> ResponseView::response() const {
    if (!curve_ || static_cast<std::size_t>(gains_.size()) != EQSettings::bandCount)
        return {};
    return curve_->gains(gains_);
}

void ResponseView::paint(QPainter* painter) {
    const std::vector<double> gains = response();
    const ResponseGeometry geometry{.width = width(), .height = height()};
    if (gains.empty() || geometry.width <= 2.0 * ResponseGeometry::fadeWidth)
        return;
    const auto fading = [&geometry](QColor color, double share) {
        const double fade = ResponseGeometry::fadeWidth / geometry.width;
        QColor clear = color;
        clear.setAlphaF(0.0F);
        color.setAlphaF(color.alphaF() * static_cast<float>(share));
        QLinearGradient gradient(0.0, 0.0, geometry.width, 0.0);
        gradient.setStops({{0.0, clear}, {fade, color}, {1.0 - fade, color}, {1.0, clear}});
        return QBrush(gradient);
    };
    QPolygonF line;
    for (std::size_t point = 0; point < gains.size(); ++point)
        line << QPointF(geometry.horizontal(responseFrequencies()[point]), geometry.vertical(gains[point]));
    QPolygonF area = line;
    area << QPointF(geometry.width, geometry.vertical(0.0)) << QPointF(0.0, geometry.vertical(0.0));

    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(fading(color_, ResponseGeometry::fillShare));
    painter->drawPolygon(area);
    painter->setPen(
        QPen(fading(color_, 1.0), ResponseGeometry::lineWidth, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin));
    painter->drawPolyline(line);
}

} // namespace vello
