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
    /// dB.
    Q_PROPERTY(double gain READ gain NOTIFY gainChanged)
    /// The gain belongs to a curve that was chosen as a whole: it is reached in a glide.
    Q_PROPERTY(bool isGliding READ isGliding NOTIFY glidingChanged)

public:
    BandModel(QString label, QObject* parent) : QObject(parent), label_(std::move(label)) {}

    QString label() const { return label_; }
    double gain() const { return gain_; }
    bool isGliding() const { return isGliding_; }
    /// The gain is now this one; `glides` says how it is reached. An unchanged gain is reached already.
    void show(double gain, bool glides);

    /// The user sets the band. A gain outside the sliders' range counts as its nearest bound; what is not a
    /// number is refused.
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
