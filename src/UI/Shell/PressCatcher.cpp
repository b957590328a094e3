// SPDX-License-Identifier: Apache-2.0
#include "PressCatcher.h"

#include <QMouseEvent>
#include <QPainter>

namespace vello {

PressCatcher::PressCatcher() {
    QSurfaceFormat translucent = format();
    translucent.setAlphaBufferSize(8);
    setFormat(translucent);
    setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::BypassWindowManagerHint | Qt::WindowDoesNotAcceptFocus);
}

void PressCatcher::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(QRect(QPoint(), size()), Qt::transparent);
}

void PressCatcher::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        emit pressed();
}

} // namespace vello
