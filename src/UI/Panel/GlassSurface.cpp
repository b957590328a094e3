// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/GlassSurface.h"

#include "UI/Panel/ImageBlur.h"

#include <QPainter>
#include <QPainterPath>
#include <QQuickWindow>
#include <QSGNinePatchNode>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

namespace vello {
namespace {

/// A corner starts at this multiple of the radius from the tip, earlier than a circle's, and touches the
/// circle at its middle. The curvature thus sets in gradually.
constexpr double kCornerReach = 1.28;
constexpr double kRimWidth = 1.0;

struct Corner {
    QPointF tip;
    QPointF in;  ///< along the side that leads to the tip, away from the tip
    QPointF out; ///< along the side that leaves the tip
};

QPainterPath roundedPath(const QRectF& bounds, double radius) {
    const double largest = std::min(bounds.width(), bounds.height()) / 2.0;
    const double reach = std::min(radius * kCornerReach, largest);
    // Halfway along a cubic whose ends are `reach` and whose control points are `handle` from the corner,
    // both coordinates are (reach + 3 handle) / 8. On the circle they are (1 - 1 / sqrt 2) times the radius.
    const double circle = std::min(radius, largest);
    const double handle = (8.0 * (1.0 - std::sqrt(0.5)) * circle - reach) / 3.0;
    const std::array<Corner, 4> corners{{{bounds.topRight(), {-1, 0}, {0, 1}},
                                         {bounds.bottomRight(), {0, -1}, {-1, 0}},
                                         {bounds.bottomLeft(), {1, 0}, {0, -1}},
                                         {bounds.topLeft(), {0, 1}, {1, 0}}}};
    QPainterPath path(bounds.topLeft() + QPointF(reach, 0.0));
    for (const Corner& corner : corners) {
        path.lineTo(corner.tip + corner.in * reach);
        path.cubicTo(corner.tip + corner.in * handle, corner.tip + corner.out * handle,
                     corner.tip + corner.out * reach);
    }
    path.closeSubpath();
    return path;
}

} // namespace

GlassSurface::GlassSurface(QQuickItem* parent) : QQuickItem(parent) {
    setFlag(ItemHasContents);
    connect(this, &GlassSurface::lookChanged, this, [this] {
        lookIsDrawn_ = false;
        update();
    });
}

double GlassSurface::shadowMargin() const {
    return shadowColor_.alpha() == 0 ? 0.0 : std::ceil(3.0 * shadowRadius_ + std::abs(shadowOffset_));
}

double GlassSurface::patchSide() const {
    // The shadow of a corner extends along the sides. Only beyond it are all points of a side alike.
    return 2.0 * (std::ceil(radius_ * kCornerReach) + shadowMargin()) + 2.0;
}

QPointF GlassSurface::lookOrigin(const QSizeF& imageSize) const {
    if (!isWhole())
        return {shadowMargin(), shadowMargin()};
    // In the middle of an image of whole pixels, so that all its sides look alike.
    return {(imageSize.width() - width()) / 2.0, (imageSize.height() - height()) / 2.0};
}

QImage GlassSurface::drawLook(double pixelRatio) const {
    const double margin = shadowMargin();
    const QSizeF side = isWhole() ? size() : QSizeF(patchSide(), patchSide());
    const QSize pixels(static_cast<int>(std::ceil((side.width() + 2.0 * margin) * pixelRatio)),
                       static_cast<int>(std::ceil((side.height() + 2.0 * margin) * pixelRatio)));
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(pixelRatio);
    image.fill(Qt::transparent);
    const QRectF bounds(lookOrigin(image.deviceIndependentSize()), side);
    const QPainterPath shape = roundedPath(bounds, radius_);
    if (margin > 0.0) {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.fillPath(shape.translated(0.0, shadowOffset_), shadowColor_);
        painter.end();
        blur(image, shadowRadius_ * pixelRatio);
    }
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    // The surface is translucent, but its own shadow must not show through it.
    painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
    painter.fillPath(shape, Qt::black);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.fillPath(shape, color_);
    constexpr double inset = kRimWidth / 2.0;
    painter.strokePath(roundedPath(bounds.adjusted(inset, inset, -inset, -inset), radius_ - inset),
                       QPen(rimColor_, kRimWidth));
    if (dotDiameter_ > 0.0) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(dotColor_);
        painter.drawEllipse(bounds.center(), dotDiameter_ / 2.0, dotDiameter_ / 2.0);
    }
    return image;
}

QSGNode* GlassSurface::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    auto* node = static_cast<QSGNinePatchNode*>(old);
    if (width() < 1.0 || height() < 1.0) {
        delete node;
        lookIsDrawn_ = false;
        return nullptr;
    }
    const double pixelRatio = window()->effectiveDevicePixelRatio();
    const double margin = shadowMargin();
    if (!node) {
        node = window()->createNinePatchNode();
        lookIsDrawn_ = false;
    }
    if (!lookIsDrawn_) {
        const QImage look = drawLook(pixelRatio);
        drawnSize_ = look.deviceIndependentSize();
        node->setTexture(window()->createTextureFromImage(look, QQuickWindow::TextureHasAlphaChannel));
        const double x = (drawnSize_.width() - 2.0) / 2.0;
        const double y = (drawnSize_.height() - 2.0) / 2.0;
        node->setPadding(x, y, x, y);
        lookIsDrawn_ = true;
    }
    // A look drawn as a whole must not be scaled by a fraction of a pixel.
    const QSizeF extent = isWhole() ? drawnSize_ : size() + QSizeF(2.0 * margin, 2.0 * margin);
    node->setDevicePixelRatio(pixelRatio);
    node->setBounds(QRectF(-lookOrigin(drawnSize_), extent));
    node->update();
    return node;
}

void GlassSurface::geometryChange(const QRectF& now, const QRectF& before) {
    QQuickItem::geometryChange(now, before);
    const auto isSmall = [this](const QRectF& bounds) {
        return std::min(bounds.width(), bounds.height()) < patchSide();
    };
    if (now.size() != before.size() && (isSmall(now) || isSmall(before)))
        lookIsDrawn_ = false;
    update();
}

void GlassSurface::itemChange(ItemChange change, const ItemChangeData& data) {
    if (change == ItemDevicePixelRatioHasChanged || change == ItemSceneChange)
        lookIsDrawn_ = false;
    QQuickItem::itemChange(change, data);
}

} // namespace vello
