// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Geometry/MarqueeGeometry.h"
#include "UI/Panel/FrameClock.h"

#include <QColor>
#include <QFont>
#include <QImage>
#include <QPointer>
#include <QQuickPaintedItem>
#include <QtQmlIntegration>

#include <optional>

namespace vello {

/// One line of text as wide as the item. A text that does not fit scrolls to the left, or to the right when
/// it is read from right to left, at the ticks of `clock`. It is drawn at whole pixels, and all texts step to
/// the next pixel at the same ticks, so that the window is not drawn for each of them.
class MarqueeText : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    /// Must outlive the item. Without a clock, the text does not move.
    Q_PROPERTY(vello::FrameClock* clock READ clock WRITE setClock NOTIFY clockChanged)
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged)
    Q_PROPERTY(int pixelSize READ pixelSize WRITE setPixelSize NOTIFY pixelSizeChanged)
    Q_PROPERTY(bool reduceMotion READ reduceMotion WRITE setReduceMotion NOTIFY reduceMotionChanged)
    /// While false, the text stays as it is, so that nothing is drawn. Then it is where its time has brought
    /// it.
    Q_PROPERTY(bool isOnScreen READ isOnScreen WRITE setOnScreen NOTIFY onScreenChanged)
    /// When true, a text that fits is aligned to the right edge.
    Q_PROPERTY(bool isMirrored READ isMirrored WRITE setMirrored NOTIFY mirroredChanged)
    /// In reading direction: 0 at the start, negative while the text leaves, positive while it returns.
    Q_PROPERTY(double offset READ offset NOTIFY offsetChanged)

public:
    explicit MarqueeText(QQuickItem* parent = nullptr);

    FrameClock* clock() const { return clock_; }
    void setClock(FrameClock* clock);
    QString text() const { return text_; }
    void setText(const QString& text);
    QColor color() const { return color_; }
    void setColor(const QColor& color);
    int pixelSize() const { return font_.pixelSize(); }
    void setPixelSize(int pixelSize);
    bool reduceMotion() const { return reduceMotion_; }
    void setReduceMotion(bool reduceMotion);
    bool isOnScreen() const { return isOnScreen_; }
    void setOnScreen(bool isOnScreen);
    bool isMirrored() const { return isMirrored_; }
    void setMirrored(bool isMirrored);
    double offset() const { return offset_; }
    /// The offset that is drawn: whole pixels, behind by less than one.
    double drawnOffset() const { return drawnOffset_; }

    void paint(QPainter* painter) override;

signals:
    void clockChanged();
    void textChanged();
    void colorChanged();
    void pixelSizeChanged();
    void reduceMotionChanged();
    void onScreenChanged();
    void mirroredChanged();
    void offsetChanged();

protected:
    void geometryChange(const QRectF& now, const QRectF& before) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    MarqueeGeometry geometry() const { return {textWidth_, width()}; }
    double pixelRatio() const;
    /// How many pixels a text has moved since the clock's beginning.
    double pixelsUntil(FrameClock::Instant instant) const;
    /// Left edge of the text, from the item's left edge.
    double left() const;
    QImage writtenText() const;
    void measure();
    bool moves() const;
    /// Returns the text to its start when it does not move.
    void review();
    void tick();
    void setOffset(double offset, double drawnOffset);

    QPointer<FrameClock> clock_;
    QString text_;
    QColor color_ = Qt::black;
    QFont font_;
    double textWidth_ = 0.0;
    double offset_ = 0.0;
    double drawnOffset_ = 0.0;
    QImage written_; ///< the whole text; null: to be written
    bool reduceMotion_ = false;
    bool isOnScreen_ = true;
    bool isMirrored_ = false;
    std::optional<FrameClock::Instant> animationStart_; ///< absent until the first tick of a text
};

} // namespace vello
