// SPDX-License-Identifier: Apache-2.0
#include "AppIconView.h"

#include <QPainter>
#include <QQuickWindow>

namespace vello {

void AppIconView::setSource(SourceItem* source) {
    if (source == source_)
        return;
    if (source_)
        disconnect(source_, nullptr, this, nullptr);
    source_ = source;
    if (source_)
        connect(source_, &SourceItem::sourceChanged, this, [this] { update(); });
    emit sourceChanged();
    update();
}

void AppIconView::paint(QPainter* painter) {
    if (!source_)
        return;
    const double pixelRatio = window() ? window()->effectiveDevicePixelRatio() : 1.0;
    const QPixmap pixmap = source_->icon().pixmap(size().toSize(), pixelRatio);
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->drawPixmap(QRectF(0.0, 0.0, width(), height()), pixmap, QRectF(pixmap.rect()));
}

} // namespace vello
