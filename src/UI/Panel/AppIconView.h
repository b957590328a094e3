// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Panel/SourceItem.h"

#include <QPointer>
#include <QQuickPaintedItem>
#include <QtQmlIntegration>

namespace vello {

/// The icon of a source. It fills the item and is drawn at the screen's resolution.
class AppIconView : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(vello::SourceItem* source READ source WRITE setSource NOTIFY sourceChanged)

public:
    explicit AppIconView(QQuickItem* parent = nullptr) : QQuickPaintedItem(parent) {}

    SourceItem* source() const { return source_; }
    void setSource(SourceItem* source);

    void paint(QPainter* painter) override;

signals:
    void sourceChanged();

private:
    QPointer<SourceItem> source_;
};

} // namespace vello
