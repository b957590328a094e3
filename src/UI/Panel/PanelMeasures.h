// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Product.h"
#include "UI/Geometry/PanelGeometry.h"
#include "UI/Geometry/ResponseGeometry.h"

#include <QObject>
#include <QtQmlIntegration>
#include <QUrl>

namespace vello {

/// The panel's arithmetic and constants, for QML.
class PanelMeasures : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(double panelWidth READ panelWidth CONSTANT)
    Q_PROPERTY(double maximumListHeight READ maximumListHeight CONSTANT)
    Q_PROPERTY(bool showsResponse READ showsResponse CONSTANT)
    Q_PROPERTY(QUrl webSite READ webSite CONSTANT)
    Q_PROPERTY(QUrl guide READ guide CONSTANT)
    Q_PROPERTY(QString version READ version CONSTANT)

public:
    explicit PanelMeasures(QObject* parent = nullptr) : QObject(parent) {}

    double panelWidth() const { return kPanelWidth; }
    double maximumListHeight() const { return kMaximumListHeight; }
    bool showsResponse() const { return kShowsResponse; }
    QUrl webSite() const { return QUrl(QString::fromUtf8(kWebSite)); }
    QUrl guide() const { return QUrl(QString::fromUtf8(kGuide)); }
    QString version() const { return QStringLiteral(VELLO_VERSION); }
    Q_INVOKABLE double listHeight(double contentHeight, double room) const {
        return vello::listHeight(contentHeight, room);
    }
    Q_INVOKABLE double titleScale(double expansion) const { return vello::titleScale(expansion); }
    Q_INVOKABLE double titleOpacity(double expansion) const { return vello::titleOpacity(expansion); }
    Q_INVOKABLE double symbolSize(double size, double side) const { return vello::symbolSize(size, side); }
    Q_INVOKABLE double numberWidth(int size) const { return vello::numberWidth(size); }
    Q_INVOKABLE int numberSize(int largest, double width) const { return vello::numberSize(largest, width); }
};

} // namespace vello
