// SPDX-License-Identifier: Apache-2.0
#include "Symbol.h"

#include "UI/Geometry/PanelGeometry.h"

#include <QPainter>
#include <QSvgRenderer>

namespace vello {

Symbol::Symbol(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setPointSize(13.0);
    connect(this, &Symbol::lookChanged, this, [this] { update(); });
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
