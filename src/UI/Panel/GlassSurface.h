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
    Q_PROPERTY(double radius MEMBER radius_ WRITE setRadius NOTIFY lookChanged)
    Q_PROPERTY(QColor color MEMBER color_ WRITE setColor NOTIFY lookChanged)
    Q_PROPERTY(QColor rimColor MEMBER rimColor_ WRITE setRimColor NOTIFY lookChanged)
    Q_PROPERTY(double rimWidth MEMBER rimWidth_ WRITE setRimWidth NOTIFY lookChanged)
    Q_PROPERTY(QColor shadowColor MEMBER shadowColor_ WRITE setShadowColor NOTIFY lookChanged)
    Q_PROPERTY(double shadowRadius MEMBER shadowRadius_ WRITE setShadowRadius NOTIFY lookChanged)
    /// Positive is downwards.
    Q_PROPERTY(double shadowOffset MEMBER shadowOffset_ WRITE setShadowOffset NOTIFY lookChanged)

public:
    explicit GlassSurface(QQuickItem* parent = nullptr);

    void setRadius(double radius) { change(radius_, radius); }
    void setColor(const QColor& color) { change(color_, color); }
    void setRimColor(const QColor& color) { change(rimColor_, color); }
    void setRimWidth(double width) { change(rimWidth_, width); }
    void setShadowColor(const QColor& color) { change(shadowColor_, color); }
    void setShadowRadius(double radius) { change(shadowRadius_, radius); }
    void setShadowOffset(double offset) { change(shadowOffset_, offset); }

signals:
    void lookChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData*) override;
    void geometryChange(const QRectF& now, const QRectF& before) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    template <typename Value> void change(Value& field, const Value& value) {
        if (field == value)
            return;
        field = value;
        lookIsDrawn_ = false;
        update();
        emit lookChanged();
    }
    double shadowMargin() const;
    /// Side of the patch that holds the corners, one point of every side, and the shadow around them.
    double patchSide() const;
    /// Whether the item is too small for the patch, so that its look is drawn as a whole.
    bool isWhole() const { return std::min(width(), height()) < patchSide(); }
    QImage drawLook(double pixelRatio) const;

    double radius_ = 0.0;
    QColor color_ = Qt::transparent;
    QColor rimColor_ = Qt::transparent;
    double rimWidth_ = 1.0;
    QColor shadowColor_ = Qt::transparent;
    double shadowRadius_ = 0.0;
    double shadowOffset_ = 0.0;
    bool lookIsDrawn_ = false;
    QSizeF drawnSize_; ///< in points
};

} // namespace vello
