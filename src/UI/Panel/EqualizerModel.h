// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Controller/AudioController.h"
#include "UI/Panel/BandModel.h"
#include "UI/Panel/MenuModel.h"

#include <QList>
#include <QObject>
#include <QQmlListProperty>
#include <QtQmlIntegration>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vello {

/// The equalizer of one source, as its open card shows and edits it.
class EqualizerModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by its source")
    Q_PROPERTY(QQmlListProperty<vello::BandModel> bands READ bands CONSTANT)
    Q_PROPERTY(bool isFlat READ isFlat NOTIFY settingsChanged)
    Q_PROPERTY(bool isBypassed READ isBypassed NOTIFY settingsChanged)
    Q_PROPERTY(double volume READ volume WRITE setVolume NOTIFY settingsChanged)
    Q_PROPERTY(QString volumeText READ volumeText NOTIFY settingsChanged)
    Q_PROPERTY(QString currentPresetName READ currentPresetName NOTIFY presetChanged)
    Q_PROPERTY(bool isUnsavedCustomCurve READ isUnsavedCustomCurve NOTIFY presetChanged)
    /// Whether the source has no settings of its own, so that those of the system-wide entry apply.
    Q_PROPERTY(bool isFollowingSystem READ isFollowingSystem NOTIFY presetChanged)
    /// Name of the curve of the system-wide entry.
    Q_PROPERTY(QString systemPresetName READ systemPresetName NOTIFY presetChanged)
    /// Of the filters, in Hz.
    Q_PROPERTY(double sampleRate READ sampleRate NOTIFY sampleRateChanged)
    Q_PROPERTY(QString currentOutputRouteName READ currentOutputRouteName NOTIFY routeChanged)
    Q_PROPERTY(bool hasTempo READ hasTempo NOTIFY tempoChanged)
    /// The latest tempo, in beats per minute. Keeps its value when the tempo is lost.
    Q_PROPERTY(int beatsPerMinute READ beatsPerMinute NOTIFY tempoChanged)
    /// Built-in presets, those of the user, and the import from a file.
    Q_PROPERTY(vello::MenuModel* presets READ presets CONSTANT)
    /// Whether the menu of presets offers to take the last deletion back.
    Q_PROPERTY(bool hasDeletedPreset READ hasDeletedPreset NOTIFY presetChanged)
    Q_PROPERTY(vello::MenuModel* routes READ routes CONSTANT)
    /// One level for each band; updated while this card is open.
    Q_PROPERTY(QList<float> spectrum READ spectrum NOTIFY spectrumChanged)

public:
    EqualizerModel(AudioController& controller, std::string sourceID, QObject* parent);

    QQmlListProperty<BandModel> bands() { return {this, &bands_}; }
    bool isFlat() const { return settings_.isFlat(); }
    bool isBypassed() const { return settings_.isBypassed; }
    double volume() const { return settings_.volume; }
    void setVolume(double volume);
    QString volumeText() const;
    QString currentPresetName() const;
    bool isUnsavedCustomCurve() const;
    bool isFollowingSystem() const { return settings_.followsSystem(sourceID_); }
    QString systemPresetName() const;
    double sampleRate() const { return sampleRate_; }
    QString currentOutputRouteName() const;
    bool hasTempo() const { return hasTempo_; }
    int beatsPerMinute() const { return beatsPerMinute_; }
    MenuModel* presets() { return &presets_; }
    bool hasDeletedPreset() const { return deleted_.has_value(); }
    MenuModel* routes() { return &routes_; }
    QList<float> spectrum() const;

    Q_INVOKABLE void reset();
    /// Returns false, and does nothing, when `name` is blank.
    Q_INVOKABLE bool savePreset(const QString& name);
    Q_INVOKABLE static bool isBlank(const QString& name);
    /// Whether the preset `name` exists and `newName` is neither blank nor the name of another one.
    Q_INVOKABLE bool canRenamePreset(const QString& name, const QString& newName) const;
    /// Returns false, and does nothing, unless canRenamePreset().
    Q_INVOKABLE bool renamePreset(const QString& name, const QString& newName);
    /// Stops offering to take the last deletion back.
    Q_INVOKABLE void forgetDeletedPreset();

    // These read what the controller has published since the last call.
    void refreshSettings();
    void refreshPresets();
    void refreshRoutes();
    void refreshTempo();
    void refreshSpectrum();

signals:
    void settingsChanged();
    void presetChanged();
    void presetDeleted();
    void renamingRequested(const QString& name);
    void importRequested();
    void routeChanged();
    void tempoChanged();
    void spectrumChanged();
    void sampleRateChanged();

private:
    struct DeletedPreset {
        UserEQPreset preset;
        std::size_t position; ///< in the list of the user's presets
    };

    void makeBands();
    void showGains();
    void refreshInForce(bool hasOtherSource);
    QString nameOf(std::span<const double> gains) const;
    void setGain(std::size_t band, double decibels);
    void applyPreset(int row);
    const UserEQPreset* userPreset(int row) const;
    void deletePreset(int row);
    void restorePreset();
    std::vector<MenuEntry> presetEntries() const;
    void chooseRoute(int row);
    void edit(const std::function<void(EQSettings&)>& change);
    void setGains(std::span<const double> gains);

    AudioController& controller_;
    const std::string sourceID_;
    EQSettings settings_;
    EQSettings inForce_;
    double sampleRate_ = kUsualSampleRate;
    bool hasTempo_ = false;
    int beatsPerMinute_ = 0;
    bool isApplyingPreset_ = false;
    std::optional<DeletedPreset> deleted_;
    QList<BandModel*> bands_; ///< QObject children
    MenuModel presets_{MenuModel::Marks::none};
    MenuModel routes_{MenuModel::Marks::check};
};

} // namespace vello
