// SPDX-License-Identifier: Apache-2.0
#include "Symbol.h"

#include "UI/Geometry/PanelGeometry.h"

#include <QPainter>
#include <QQuickWindow>
#include <QSvgRenderer>

#include <cmath>

namespace vello {

Symbol::Symbol(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setPointSize(13.0);
    connect(this, &Symbol::lookChanged, this, [this] { update(); });
    connect(this, &Symbol::rotationChanged, this, &Symbol::chooseFilter);
}

void Symbol::itemChange(ItemChange change, const ItemChangeData& data) {
    QQuickPaintedItem::itemChange(change, data);
    if (change == ItemSceneChange || change == ItemDevicePixelRatioHasChanged)
        chooseFilter();
}

/// A symbol may stand between two pixels. OpenGL would mix them, which blurs its thin lines.
void Symbol::chooseFilter() {
    const double ratio = window() ? window()->effectiveDevicePixelRatio() : 1.0;
    const bool fitsPixels = ratio == std::floor(ratio) && std::fmod(rotation(), 180.0) == 0.0;
    setSmooth(!fitsPixels);
}

void Symbol::setPointSize(double pointSize) {
    if (pointSize == pointSize_)
        return;
    pointSize_ = pointSize;
    setImplicitSize(symbolSide(pointSize), symbolSide(pointSize));
    emit pointSizeChanged();
}

void Symbol::paint(QPainter* painter) {
    QSvgRenderer drawing(QStringLiteral(":/vello/symbols/%1.svg").arg(name_));
    if (!drawing.isValid())
        return;
    const double side = std::min(width(), height());
    const QRectF square((width() - side) / 2.0, (height() - side) / 2.0, side, side);
    drawing.render(painter, square);
    // Recolours only the pixels that were drawn.
    painter->setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter->fillRect(QRectF(0.0, 0.0, width(), height()), color_);
}

} // namespace vello
