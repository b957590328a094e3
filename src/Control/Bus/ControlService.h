// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Controller/AudioController.h"
#include "AudioEngine/Controller/MeterAudience.h"
#include "Control/Bus/LevelSubscriptions.h"
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

/// The running instance as others on the session bus see it: the object of the interface that packaging/dbus
/// describes, on top of the controller. Whatever comes from outside is checked here; a refused call changes
/// nothing and gets an error with a name and a sentence. Main thread only.
class ControlService final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_PROPERTY(QString Version READ version CONSTANT)
    Q_PROPERTY(bool ProcessingEnabled READ isProcessingEnabled)
    Q_PROPERTY(QString Permission READ permission)
    Q_PROPERTY(QList<QVariantMap> Sources READ sources)
    Q_PROPERTY(QList<QVariantMap> Outputs READ outputs)
    Q_PROPERTY(QList<QVariantMap> Presets READ presets)

public:
    using ShowPanelAction = std::function<void(const std::string& activationToken)>;

    /// An empty `showPanel`: this instance has no panel. References outlive the object.
    ControlService(AudioController& controller, MeterAudience& audience, MainThread& mainThread,
                   ShowPanelAction showPanel);

    /// Puts the object on a bus; from then on changes are told there. False when the bus refuses.
    bool appear(const QDBusConnection& bus);
    /// The bus is gone, and with it whoever watched.
    void disappear();
    /// Somebody wants to be told of levels.
    bool hasSubscribers() const { return !subscriptions_.isEmpty(); }

    QString version() const;
    bool isProcessingEnabled() const;
    QString permission() const;
    MapList sources() const;
    MapList outputs() const;
    MapList presets() const;

    // The methods of the interface, by their names there.
    void SetSettings(const QString& source, const QVariantMap& changes);
    void SetProcessingEnabled(bool enabled);
    void SavePreset(const QString& name, const QList<double>& bandGains);
    void RequestPermission();
    void ShowPanel(const QString& activationToken);
    QList<QVariantMap> ListExemptStreams() const;
    void SubscribeLevels();
    void UnsubscribeLevels();

private:
    void observe();
    void scheduleNotice();
    void tellChanges();
    QVariantMap changes(const RunningState& state) const;
    std::string knownSourceID(const QString& id) const;
    template <class Action> void answer(Action action);

    AudioController& controller_;
    MainThread& mainThread_;
    ShowPanelAction showPanel_;
    LevelSubscriptions subscriptions_;
    std::optional<QDBusConnection> bus_;
    RunningState told_; ///< the state that the bus knows of
    TaskHandle notice_;
    std::vector<Observation> observations_;
};

} // namespace vello
