// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/MarqueeText.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QLinearGradient>
#include <QPainter>
#include <QQuickWindow>

#include <chrono>
#include <cmath>

namespace vello {

MarqueeText::MarqueeText(QQuickItem* parent) : QQuickPaintedItem(parent), font_(QGuiApplication::font()) {
    font_.setPixelSize(10);
    measure();
}

void MarqueeText::setClock(FrameClock* clock) {
    if (clock == clock_)
        return;
    if (clock_)
        disconnect(clock_, nullptr, this, nullptr);
    clock_ = clock;
    if (clock_)
        connect(clock_, &FrameClock::ticked, this, &MarqueeText::tick);
    emit clockChanged();
}

void MarqueeText::setText(const QString& text) {
    if (text == text_)
        return;
    text_ = text;
    animationStart_.reset();
    setOffset(0.0, 0.0);
    measure();
    emit textChanged();
}

void MarqueeText::setColor(const QColor& color) {
    if (color == color_)
        return;
    color_ = color;
    written_ = {};
    emit colorChanged();
    update();
}

void MarqueeText::setPixelSize(int pixelSize) {
    if (pixelSize == font_.pixelSize() || pixelSize < 1)
        return;
    font_.setPixelSize(pixelSize);
    measure();
    emit pixelSizeChanged();
}

void MarqueeText::setReduceMotion(bool reduceMotion) {
    if (reduceMotion == reduceMotion_)
        return;
    reduceMotion_ = reduceMotion;
    review();
    emit reduceMotionChanged();
}

void MarqueeText::setOnScreen(bool isOnScreen) {
    if (isOnScreen == isOnScreen_)
        return;
    isOnScreen_ = isOnScreen;
    if (clock_ && animationStart_)
        tick();
    emit onScreenChanged();
}

void MarqueeText::setMirrored(bool isMirrored) {
    if (isMirrored == isMirrored_)
        return;
    isMirrored_ = isMirrored;
    emit mirroredChanged();
    update();
}

void MarqueeText::measure() {
    const QFontMetricsF metrics(font_);
    textWidth_ = std::ceil(metrics.horizontalAdvance(text_));
    setImplicitHeight(std::ceil(metrics.height()));
    written_ = {};
    review();
    update();
}

bool MarqueeText::moves() const {
    return geometry().overflows() && !reduceMotion_ && isVisible() && window();
}

void MarqueeText::review() {
    if (!moves())
        setOffset(0.0, 0.0);
}

void MarqueeText::tick() {
    if (!animationStart_)
        animationStart_ = clock_->now();
    const std::chrono::duration<double> elapsed = clock_->now() - *animationStart_;
    if (!isOnScreen_ || !moves())
        return;
    const double drawnPoints = (pixelsUntil(clock_->now()) - pixelsUntil(*animationStart_)) / pixelRatio();
    setOffset(geometry().marqueeOffset(elapsed.count()),
              geometry().marqueeOffset(drawnPoints / MarqueeGeometry::pointsPerSecond));
}

double MarqueeText::pixelRatio() const {
    return window() ? window()->effectiveDevicePixelRatio() : 1.0;
}

double MarqueeText::pixelsUntil(FrameClock::Instant instant) const {
    const std::chrono::duration<double> time = instant.time_since_epoch();
    return std::floor(time.count() * MarqueeGeometry::pointsPerSecond * pixelRatio());
}

void MarqueeText::setOffset(double offset, double drawnOffset) {
    if (drawnOffset != drawnOffset_)
        update();
    drawnOffset_ = drawnOffset;
    if (offset == offset_)
        return;
    offset_ = offset;
    emit offsetChanged();
}

void MarqueeText::geometryChange(const QRectF& now, const QRectF& before) {
    QQuickPaintedItem::geometryChange(now, before);
    if (now.height() != before.height())
        written_ = {};
    review();
}

void MarqueeText::itemChange(ItemChange change, const ItemChangeData& data) {
    QQuickPaintedItem::itemChange(change, data);
    if (change == ItemVisibleHasChanged || change == ItemSceneChange)
        review();
    if (change == ItemDevicePixelRatioHasChanged || change == ItemSceneChange)
        written_ = {};
}

double MarqueeText::left() const {
    const double room = width() - textWidth_;
    if (!geometry().overflows())
        return isMirrored_ ? room : 0.0;
    return text_.isRightToLeft() ? room - drawnOffset_ : drawnOffset_;
}

QImage MarqueeText::writtenText() const {
    const QSizeF room(textWidth_ + 1.0, height());
    QImage image((room * pixelRatio()).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(pixelRatio());
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setFont(font_);
    painter.setPen(color_);
    painter.drawText(QRectF(QPointF(), room),
                     Qt::AlignLeft | Qt::AlignAbsolute | Qt::AlignVCenter | Qt::TextSingleLine, text_);
    return image;
}

void MarqueeText::paint(QPainter* painter) {
    if (written_.isNull())
        written_ = writtenText();
    const double ratio = pixelRatio();
    painter->drawImage(QPointF(std::round(left() * ratio) / ratio, 0.0), written_);
    const auto fade = geometry().edgeFade();
    if (!fade)
        return;
    QLinearGradient mask(0.0, 0.0, width(), 0.0);
    mask.setStops(
        {{0.0, Qt::transparent}, {*fade, Qt::black}, {1.0 - *fade, Qt::black}, {1.0, Qt::transparent}});
    painter->setCompositionMode(QPainter::CompositionMode_DestinationIn);
    painter->fillRect(QRectF(0.0, 0.0, width(), height()), mask);
}

} // namespace vello
