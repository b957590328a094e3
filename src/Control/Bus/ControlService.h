// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Controller/AudioController.h"
#include "AudioEngine/Controller/MeterAudience.h"
#include "Control/Bus/LevelSubscriptions.h"
#include "Control/State/InstanceHealth.h"
#include "Control/State/OutsideValues.h"
#include "Control/State/RunningState.h"
#include "Ports/MainThread.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>

namespace vello {

/// The running instance's object on the session bus. Implements the interface described in packaging/dbus on
/// top of the controller. Validates all input; a rejected call changes nothing and returns an error name and
/// a sentence. Main thread only.
class ControlService final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_PROPERTY(QString Version READ version CONSTANT)
    Q_PROPERTY(bool ProcessingEnabled READ isProcessingEnabled)
    Q_PROPERTY(QString Permission READ permission)
    Q_PROPERTY(QString SaveProblem READ saveProblem)
    Q_PROPERTY(QList<QVariantMap> Sources READ sources)
    Q_PROPERTY(QList<QVariantMap> Outputs READ outputs)
    Q_PROPERTY(QList<QVariantMap> Presets READ presets)

public:
    using ShowPanelAction = std::function<void(const std::string& activationToken)>;

    /// `showPanel` is empty if this instance has no panel. The references must outlive the object.
    ControlService(
        AudioController& controller, MeterAudience& audience, MainThread& mainThread,
        ShowPanelAction showPanel, ReadHealth readHealth = [] { return InstanceHealth(); });

    /// Registers the object on a bus and starts signalling changes there. Returns false if the registration
    /// fails.
    bool appear(const QDBusConnection& bus);
    /// Call when the bus is lost. Drops all subscribers.
    void disappear();
    /// Whether any client is subscribed to levels.
    bool hasSubscribers() const { return !subscriptions_.isEmpty(); }

    QString version() const;
    bool isProcessingEnabled() const;
    QString permission() const;
    QString saveProblem() const;
    MapList sources() const;
    MapList outputs() const;
    MapList presets() const;

    // The methods of the D-Bus interface, with their D-Bus names.
    void SetSettings(const QString& source, const QVariantMap& changes);
    void SetProcessingEnabled(bool enabled);
    void SavePreset(const QString& name, const QList<double>& bandGains);
    void Save();
    QVariantMap ImportPreset(const QString& name, const QByteArray& content);
    QString ExportPresets();
    void DeletePreset(const QString& name);
    void RenamePreset(const QString& name, const QString& newName);
    void UndoSettings(const QString& source);
    void ForgetSource(const QString& source);
    QVariantMap Diagnose() const;
    void RequestPermission();
    void ShowPanel(const QString& activationToken);
    QList<QVariantMap> ListExemptStreams() const;
    QList<QVariantMap> ListReadyApplications() const;
    QList<QVariantMap> ListStoredSources() const;
    QStringList ListPresets(QStringList& builtInNames, QList<double>& gains) const;
    void SubscribeLevels();
    void UnsubscribeLevels();

private:
    void observe();
    void scheduleNotice();
    void tellChanges();
    QVariantMap changes(const RunningState& state) const;
    std::string knownSourceID(const QString& id) const;
    std::string sourceID(const QString& id, bool isNew) const;
    EQSettings settingsBefore(const SettingsChange& change, const std::string& sourceID) const;
    void checkHasUserPreset(const std::string& name) const;
    template <class Action> void answer(Action action);

    AudioController& controller_;
    MainThread& mainThread_;
    ShowPanelAction showPanel_;
    ReadHealth readHealth_;
    LevelSubscriptions subscriptions_;
    std::optional<QDBusConnection> bus_;
    RunningState told_; ///< the state last sent to the bus
    TaskHandle notice_;
    std::vector<Observation> observations_;
};

} // namespace vello
