// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QtQmlIntegration>

namespace vello {

/// One of the panel's symbols in one colour, sized to match the text next to it.
class Symbol : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    /// File name of a symbol without its extension; an unknown name draws nothing.
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged)
    /// Pixel size of the text.
    Q_PROPERTY(double pointSize READ pointSize WRITE setPointSize NOTIFY pointSizeChanged)

public:
    explicit Symbol(QQuickItem* parent = nullptr);

    QString name() const { return name_; }
    void setName(const QString& name);
    QColor color() const { return color_; }
    void setColor(const QColor& color);
    double pointSize() const { return pointSize_; }
    void setPointSize(double pointSize);

    void paint(QPainter* painter) override;

signals:
    void nameChanged();
    void colorChanged();
    void pointSizeChanged();

private:
    QString name_;
    QColor color_ = Qt::black;
    double pointSize_ = 0.0;
};

} // namespace vello
