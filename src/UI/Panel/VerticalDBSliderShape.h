// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Geometry/VerticalDBSliderGeometry.h"

#include <QObject>
#include <QtQmlIntegration>

#include <algorithm>

namespace vello {

/// The geometry of one band's slider at its current height and gain.
class VerticalDBSliderShape : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(double height MEMBER height_ NOTIFY changed)
    /// In dB; a gain outside the range is shown at the range's end.
    Q_PROPERTY(double gain MEMBER gain_ NOTIFY changed)
    Q_PROPERTY(double width READ width CONSTANT)
    Q_PROPERTY(double lower READ lower CONSTANT)
    Q_PROPERTY(double upper READ upper CONSTANT)
    Q_PROPERTY(double trackWidth READ trackWidth CONSTANT)
    Q_PROPERTY(double thumbDiameter READ thumbDiameter CONSTANT)
    Q_PROPERTY(double thumbDotDiameter READ thumbDotDiameter CONSTANT)
    Q_PROPERTY(double zeroMarkWidth READ zeroMarkWidth CONSTANT)
    Q_PROPERTY(double thumbCentre READ thumbCentre NOTIFY changed)
    Q_PROPERTY(double barCentre READ barCentre NOTIFY changed)
    Q_PROPERTY(double barHeight READ barHeight NOTIFY changed)

public:
    explicit VerticalDBSliderShape(QObject* parent = nullptr) : QObject(parent) {}

    double width() const { return VerticalDBSliderGeometry::width; }
    double lower() const { return geometry().lower; }
    double upper() const { return geometry().upper; }
    double trackWidth() const { return geometry().trackWidth; }
    double thumbDiameter() const { return geometry().thumbDiameter; }
    double thumbDotDiameter() const { return geometry().thumbDotDiameter; }
    double zeroMarkWidth() const { return geometry().zeroMarkWidth(); }
    double thumbCentre() const { return geometry().thumbCentre(shownGain()); }
    double barCentre() const { return geometry().valueBar(shownGain()).centre; }
    double barHeight() const { return geometry().valueBar(shownGain()).height; }

    Q_INVOKABLE double draggedGain(double position) const { return geometry().draggedGain(position); }
    Q_INVOKABLE double steppedGain(double gain, double decibels) const {
        return geometry().steppedGain(gain, decibels);
    }
    Q_INVOKABLE int spokenDecibels(double gain) const { return vello::spokenDecibels(gain); }

signals:
    void changed();

private:
    VerticalDBSliderGeometry geometry() const { return {.height = height_}; }
    double shownGain() const { return std::clamp(gain_, lower(), upper()); }

    double height_ = VerticalDBSliderGeometry{}.height;
    double gain_ = 0.0;
};

} // namespace vello
