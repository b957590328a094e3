// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QColor>
#include <QImage>
#include <QQuickItem>
#include <QtQmlIntegration>

#include <algorithm>

namespace vello {

/// A rounded surface with a fill, a rim inside its edge and a soft shadow outside it. The curvature of its
/// corners sets in gradually. Resizing is cheap: the surface is redrawn only when its look changes.
class GlassSurface : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(double radius MEMBER radius_ NOTIFY lookChanged)
    Q_PROPERTY(QColor color MEMBER color_ NOTIFY lookChanged)
    Q_PROPERTY(QColor rimColor MEMBER rimColor_ NOTIFY lookChanged)
    Q_PROPERTY(QColor shadowColor MEMBER shadowColor_ NOTIFY lookChanged)
    Q_PROPERTY(double shadowRadius MEMBER shadowRadius_ NOTIFY lookChanged)
    /// Positive is downwards.
    Q_PROPERTY(double shadowOffset MEMBER shadowOffset_ NOTIFY lookChanged)
    /// Of a dot in the middle of a small surface; 0: no dot. It is part of the same image, because two images
    /// could be moved to the grid of pixels in different directions.
    Q_PROPERTY(double dotDiameter MEMBER dotDiameter_ NOTIFY lookChanged)
    Q_PROPERTY(QColor dotColor MEMBER dotColor_ NOTIFY lookChanged)

public:
    explicit GlassSurface(QQuickItem* parent = nullptr);

signals:
    void lookChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData*) override;
    void geometryChange(const QRectF& now, const QRectF& before) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    double shadowMargin() const;
    /// Side of the patch that holds the corners, one point of every side, and the shadow around them.
    double patchSide() const;
    /// Whether the item is too small for the patch, so that its look is drawn as a whole.
    bool isWhole() const { return std::min(width(), height()) < patchSide(); }
    QImage drawLook(double pixelRatio) const;
    /// From the image's edge to the surface, in points.
    QPointF lookOrigin(const QSizeF& imageSize) const;

    double radius_ = 0.0;
    QColor color_ = Qt::transparent;
    QColor rimColor_ = Qt::transparent;
    QColor shadowColor_ = Qt::transparent;
    double shadowRadius_ = 0.0;
    double shadowOffset_ = 0.0;
    double dotDiameter_ = 0.0;
    QColor dotColor_ = Qt::transparent;
    bool lookIsDrawn_ = false;
    QSizeF drawnSize_; ///< in points
};

} // namespace vello
