// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Controller/ResponseCurve.h"

#include <QColor>
#include <QList>
#include <QQuickPaintedItem>
#include <QtQmlIntegration>

#include <optional>
#include <vector>

namespace vello {

/// The frequency response of a filter as a faint curve over the item's whole area.
class ResponseView : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    /// One gain for each band, in dB. Nothing is drawn for another number of gains.
    Q_PROPERTY(QList<double> gains READ gains WRITE setGains NOTIFY gainsChanged)
    /// In Hz.
    Q_PROPERTY(double sampleRate READ sampleRate WRITE setSampleRate NOTIFY sampleRateChanged)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged)

public:
    explicit ResponseView(QQuickItem* parent = nullptr) : QQuickPaintedItem(parent) {}

    const QList<double>& gains() const { return gains_; }
    void setGains(const QList<double>& gains);
    double sampleRate() const { return sampleRate_; }
    void setSampleRate(double sampleRate);
    QColor color() const { return color_; }
    void setColor(const QColor& color);
    /// The gain of the filter in dB at each of responseFrequencies(); empty when nothing is drawn.
    std::vector<double> response() const;

    void paint(QPainter* painter) override;

signals:
    void gainsChanged();
    void sampleRateChanged();
    void colorChanged();

private:
    QList<double> gains_;
    double sampleRate_ = 0.0;
    QColor color_;
    std::optional<ResponseCurve> curve_; ///< absent without a sample rate
};

} // namespace vello
