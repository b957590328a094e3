// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/MarqueeText.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QLinearGradient>
#include <QPainter>

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
    setOffset(0.0);
    measure();
    emit textChanged();
}

void MarqueeText::setColor(const QColor& color) {
    if (color == color_)
        return;
    color_ = color;
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
    review();
    update();
}

bool MarqueeText::moves() const {
    return geometry().overflows() && !reduceMotion_ && isVisible() && window();
}

void MarqueeText::review() {
    if (!moves())
        setOffset(0.0);
}

void MarqueeText::tick() {
    if (!animationStart_)
        animationStart_ = clock_->now();
    const std::chrono::duration<double> elapsed = clock_->now() - *animationStart_;
    if (isOnScreen_ && moves())
        setOffset(geometry().marqueeOffset(elapsed.count()));
}

void MarqueeText::setOffset(double offset) {
    if (offset == offset_)
        return;
    offset_ = offset;
    emit offsetChanged();
    update();
}

void MarqueeText::geometryChange(const QRectF& now, const QRectF& before) {
    QQuickPaintedItem::geometryChange(now, before);
    review();
}

void MarqueeText::itemChange(ItemChange change, const ItemChangeData& data) {
    QQuickPaintedItem::itemChange(change, data);
    if (change == ItemVisibleHasChanged || change == ItemSceneChange)
        review();
}

double MarqueeText::left() const {
    const double room = width() - textWidth_;
    if (!geometry().overflows())
        return isMirrored_ ? room : 0.0;
    return text_.isRightToLeft() ? room - offset_ : offset_;
}

void MarqueeText::paint(QPainter* painter) {
    painter->setFont(font_);
    painter->setPen(color_);
    if (const auto fade = geometry().edgeFade()) {
        QColor clear = color_;
        clear.setAlpha(0);
        QLinearGradient gradient(0.0, 0.0, width(), 0.0);
        gradient.setStops({{0.0, clear}, {*fade, color_}, {1.0 - *fade, color_}, {1.0, clear}});
        painter->setPen(QPen(QBrush(gradient), 1.0));
    }
    painter->drawText(QRectF(left(), 0.0, textWidth_ + 1.0, height()),
                      Qt::AlignLeft | Qt::AlignAbsolute | Qt::AlignVCenter | Qt::TextSingleLine, text_);
}

} // namespace vello
