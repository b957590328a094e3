// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>
#include <QList>
#include <QQuickPaintedItem>
#include <QtQmlIntegration>

namespace vello {

/// The live spectrum as a soft row of coloured bars. The blur extends `bleed` beyond the bars, so the item
/// must be larger than the bars' area by `bleed` on every side.
class SpectrumGlowView : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    /// One magnitude for each bar, 0 to 1.
    Q_PROPERTY(QList<float> magnitudes READ magnitudes WRITE setMagnitudes NOTIFY magnitudesChanged)
    /// 0 is grey, 1 is full colour.
    Q_PROPERTY(double saturation READ saturation WRITE setSaturation NOTIFY saturationChanged)
    /// While true, nothing is drawn.
    Q_PROPERTY(bool reduceTransparency READ reduceTransparency WRITE setReduceTransparency NOTIFY
                   reduceTransparencyChanged)
    Q_PROPERTY(double bleed READ bleed CONSTANT)

public:
    explicit SpectrumGlowView(QQuickItem* parent = nullptr) : QQuickPaintedItem(parent) {}

    const QList<float>& magnitudes() const { return magnitudes_; }
    void setMagnitudes(const QList<float>& magnitudes);
    double saturation() const { return saturation_; }
    void setSaturation(double saturation);
    bool reduceTransparency() const { return reduceTransparency_; }
    void setReduceTransparency(bool reduceTransparency);
    static double bleed();

    void paint(QPainter* painter) override;

signals:
    void magnitudesChanged();
    void saturationChanged();
    void reduceTransparencyChanged();

private:
    /// The blurred image, at full opacity for a magnitude of 1 and with `scale` pixels per point.
    QImage glow(double scale) const;

    QList<float> magnitudes_;
    double saturation_ = 1.0;
    bool reduceTransparency_ = false;
};

} // namespace vello
