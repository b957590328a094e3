// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Geometry/SmallSliderGeometry.h"

#include <QObject>
#include <QtQmlIntegration>

namespace vello {

/// The geometry of a SmallSlider at its current width and position.
class SmallSliderShape : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(double width MEMBER width_ NOTIFY changed)
    Q_PROPERTY(double position MEMBER position_ NOTIFY changed)
    Q_PROPERTY(bool isMirrored MEMBER isMirrored_ NOTIFY changed)
    Q_PROPERTY(double step READ step CONSTANT)
    Q_PROPERTY(double page READ page CONSTANT)
    Q_PROPERTY(double trackHeight READ trackHeight CONSTANT)
    Q_PROPERTY(double thumbDiameter READ thumbDiameter CONSTANT)
    Q_PROPERTY(double thumbLeft READ thumbLeft NOTIFY changed)
    Q_PROPERTY(double barLeft READ barLeft NOTIFY changed)
    Q_PROPERTY(double barWidth READ barWidth NOTIFY changed)

public:
    explicit SmallSliderShape(QObject* parent = nullptr) : QObject(parent) {}

    double step() const { return SmallSliderGeometry::step; }
    double page() const { return SmallSliderGeometry::page; }
    double trackHeight() const { return SmallSliderGeometry::trackHeight; }
    double thumbDiameter() const { return SmallSliderGeometry::thumbDiameter; }
    double thumbLeft() const { return geometry().thumbLeft(position_); }
    double barLeft() const { return geometry().valueBar(position_).left; }
    double barWidth() const { return geometry().valueBar(position_).width; }

    Q_INVOKABLE double shownLevel(double level) const { return SmallSliderGeometry::shownLevel(level); }
    Q_INVOKABLE double movedLevel(double level, double change) const {
        return SmallSliderGeometry::movedLevel(level, change);
    }

signals:
    void changed();

private:
    SmallSliderGeometry geometry() const { return {.width = width_, .isMirrored = isMirrored_}; }

    double width_ = 0.0;
    double position_ = 0.0;
    bool isMirrored_ = false;
};

} // namespace vello
