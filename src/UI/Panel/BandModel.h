// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>
#include <QtQmlIntegration>

#include <cstddef>

namespace vello {

/// The gain of one band.
class BandModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the equalizer")
    Q_PROPERTY(QString label READ label CONSTANT)
    Q_PROPERTY(QString frequencyText READ frequencyText CONSTANT)
    /// In dB.
    Q_PROPERTY(double gain READ gain NOTIFY gainChanged)
    Q_PROPERTY(QString gainText READ gainText NOTIFY gainChanged)
    /// The longest text that an edit leads to.
    Q_PROPERTY(QString widestGainText READ widestGainText CONSTANT)
    /// The gain is part of a preset: the slider glides to it.
    Q_PROPERTY(bool isGliding READ isGliding NOTIFY glidingChanged)
    /// What the filter applies, in dB: another gain while the source follows the system-wide entry, and none
    /// while that is bypassed or the source is.
    Q_PROPERTY(double gainInForce READ gainInForce NOTIFY gainInForceChanged)
    /// The gain in force has not changed by an edit of this band: the curve glides to it.
    Q_PROPERTY(bool isGlidingInForce READ isGlidingInForce NOTIFY glidingInForceChanged)

public:
    /// `band` is an index of EQSettings::bandFrequencies.
    BandModel(std::size_t band, QObject* parent);

    QString label() const { return label_; }
    QString frequencyText() const { return frequencyText_; }
    double gain() const { return gain_; }
    QString gainText() const;
    static QString widestGainText();
    bool isGliding() const { return isGliding_; }
    double gainInForce() const { return gainInForce_; }
    bool isGlidingInForce() const { return isGlidingInForce_; }
    /// Sets the gain; `glides` says whether the slider glides to it. Does nothing when the gain is unchanged.
    void show(double gain, bool glides);
    /// The same for the gain in force and the curve.
    void showInForce(double gain, bool glides);

    /// An edit by the user. A gain outside the sliders' range is clamped; NaN is ignored.
    Q_INVOKABLE void edit(double decibels);

signals:
    void gainChanged();
    void glidingChanged();
    void gainInForceChanged();
    void glidingInForceChanged();
    void edited(double decibels);

private:
    void setGliding(bool isGliding);
    void setGlidingInForce(bool isGliding);

    const QString label_;
    const QString frequencyText_;
    double gain_ = 0.0;
    bool isGliding_ = false;
    double gainInForce_ = 0.0;
    bool isGlidingInForce_ = false;
};

} // namespace vello
