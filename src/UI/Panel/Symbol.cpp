// SPDX-License-Identifier: Apache-2.0
#include "Symbol.h"

#include <QPainter>
#include <QSvgRenderer>

namespace vello {
namespace {

/// Size of a symbol's square relative to the text's size, chosen so that strokes look as heavy as letters.
constexpr double kSquarePerPoint = 1.3;

} // namespace

Symbol::Symbol(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setPointSize(13.0);
}

void Symbol::setName(const QString& name) {
    if (name == name_)
        return;
    name_ = name;
    emit nameChanged();
    update();
}

void Symbol::setColor(const QColor& color) {
    if (color == color_)
        return;
    color_ = color;
    emit colorChanged();
    update();
}

void Symbol::setPointSize(double pointSize) {
    if (pointSize == pointSize_)
        return;
    pointSize_ = pointSize;
    setImplicitSize(pointSize * kSquarePerPoint, pointSize * kSquarePerPoint);
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
