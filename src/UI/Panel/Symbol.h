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
    Q_PROPERTY(QString name MEMBER name_ NOTIFY lookChanged)
    Q_PROPERTY(QColor color MEMBER color_ NOTIFY lookChanged)
    /// Pixel size of the text.
    Q_PROPERTY(double pointSize READ pointSize WRITE setPointSize NOTIFY pointSizeChanged)

public:
    explicit Symbol(QQuickItem* parent = nullptr);

    double pointSize() const { return pointSize_; }
    void setPointSize(double pointSize);

    void paint(QPainter* painter) override;

protected:
    void itemChange(ItemChange change, const ItemChangeData& data) override;

signals:
    void lookChanged();
    void pointSizeChanged();

private:
    void chooseFilter();

    QString name_;
    QColor color_ = Qt::black;
    double pointSize_ = 0.0;
};

} // namespace vello
