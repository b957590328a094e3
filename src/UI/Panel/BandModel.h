// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>
#include <QtQmlIntegration>

namespace vello {

/// The gain of one band.
class BandModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the equalizer")
    Q_PROPERTY(QString label READ label CONSTANT)
    /// In dB.
    Q_PROPERTY(double gain READ gain NOTIFY gainChanged)
    /// The gain is part of a preset: the slider glides to it.
    Q_PROPERTY(bool isGliding READ isGliding NOTIFY glidingChanged)

public:
    BandModel(QString label, QObject* parent) : QObject(parent), label_(std::move(label)) {}

    QString label() const { return label_; }
    double gain() const { return gain_; }
    bool isGliding() const { return isGliding_; }
    /// Sets the gain; `glides` says whether the slider glides to it. Does nothing when the gain is unchanged.
    void show(double gain, bool glides);

    /// An edit by the user. A gain outside the sliders' range is clamped; NaN is ignored.
    Q_INVOKABLE void edit(double decibels);

signals:
    void gainChanged();
    void glidingChanged();
    void edited(double decibels);

private:
    void setGliding(bool isGliding);

    const QString label_;
    double gain_ = 0.0;
    bool isGliding_ = false;
};

} // namespace vello
