// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/AppAudioSource.h"
#include "UI/Panel/EqualizerModel.h"
#include "UI/Panel/FrameClock.h"

#include <QIcon>
#include <QObject>
#include <QtQmlIntegration>

namespace vello {

/// One card of the panel. The object stays the same as long as its source is listed.
class SourceItem : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the list of sources")
    Q_PROPERTY(QString name READ name NOTIFY sourceChanged)
    Q_PROPERTY(bool isSystem READ isSystem CONSTANT)
    Q_PROPERTY(bool hasIcon READ hasIcon NOTIFY sourceChanged)
    /// While false the source is silent and has no meter.
    Q_PROPERTY(bool hasLevel READ hasLevel NOTIFY levelChanged)
    /// Filled share of the meter, 0 to 1.
    Q_PROPERTY(double level READ level NOTIFY levelChanged)
    /// The source was louder than full scale within the last 3 s.
    Q_PROPERTY(bool isClipping READ isClipping NOTIFY clippingChanged)
    Q_PROPERTY(bool isEQEnabled READ isEQEnabled WRITE setEQEnabled NOTIFY settingsChanged)
    /// Name of the device chosen for this source; empty while it follows the automatic output.
    Q_PROPERTY(QString outputRouteName READ outputRouteName NOTIFY routeChanged)
    Q_PROPERTY(bool isExpanded READ isExpanded NOTIFY expandedChanged)
    /// Whether the user's pointer or keyboard is in the card, which therefore stays. Set by the view.
    Q_PROPERTY(bool isHeld READ isHeld WRITE setHeld NOTIFY heldChanged)
    /// Whether the source is gone and the card is on its way out. The view then calls leave().
    Q_PROPERTY(bool isLeaving READ isLeaving NOTIFY leavingChanged)
    Q_PROPERTY(vello::EqualizerModel* equalizer READ equalizer CONSTANT)
    Q_PROPERTY(vello::FrameClock* clock READ clock CONSTANT)

public:
    /// `controller` and `clock` must outlive the item.
    SourceItem(AudioController& controller, FrameClock& clock, AppAudioSource source, QIcon icon);

    const AppAudioSource& source() const { return source_; }
    void setSource(AppAudioSource source, QIcon icon);

    QString name() const { return QString::fromStdString(source_.name); }
    bool isSystem() const { return source_.id == kSystemSourceID; }
    QIcon icon() const { return icon_; }
    bool hasIcon() const { return !icon_.isNull(); }
    bool hasLevel() const { return level_.has_value(); }
    double level() const { return level_.value_or(0.0); }
    bool isClipping() const { return isClipping_; }
    bool isEQEnabled() const { return !equalizer_.isBypassed(); }
    void setEQEnabled(bool isEnabled);
    QString outputRouteName() const { return outputRouteName_; }
    bool isExpanded() const { return isExpanded_; }
    void setExpanded(bool isExpanded);
    bool isHeld() const { return isHeld_; }
    void setHeld(bool isHeld);
    bool isLeaving() const { return isLeaving_; }
    void setLeaving(bool isLeaving);
    EqualizerModel* equalizer() { return &equalizer_; }
    FrameClock* clock() const { return &clock_; }

    /// Opens the card and closes any other one, or closes the card when it is open.
    Q_INVOKABLE void toggle() { emit toggled(); }
    /// The card of a source that is gone is not visible any more.
    Q_INVOKABLE void leave() { emit left(); }

    // These read what the controller has published since the last call.
    void refreshSettings();
    void refreshRoutes();
    void refreshPresets() { equalizer_.refreshPresets(); }
    void refreshLevel();
    void refreshClipping();
    void refreshTempo() { equalizer_.refreshTempo(); }
    void refreshSpectrum() { equalizer_.refreshSpectrum(); }

signals:
    void sourceChanged();
    void levelChanged();
    void clippingChanged();
    void settingsChanged();
    void routeChanged();
    void expandedChanged();
    void heldChanged();
    void leavingChanged();
    void left();
    void toggled();

private:
    void refreshRouteName();

    AudioController& controller_;
    FrameClock& clock_;
    AppAudioSource source_;
    QIcon icon_;
    std::optional<double> level_;
    bool isClipping_ = false;
    QString outputRouteName_;
    bool isExpanded_ = false;
    bool isHeld_ = false;
    bool isLeaving_ = false;
    EqualizerModel equalizer_;
};

} // namespace vello
