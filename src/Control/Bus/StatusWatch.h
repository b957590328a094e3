// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/Bus/RunningInstance.h"

#include <chrono>
#include <functional>

#include <QDBusMessage>
#include <QObject>

namespace vello {

/// Follows the state of a running instance. Keeps nothing but the newest state, whatever happens meanwhile.
/// Needs a QCoreApplication.
class StatusWatch final : public QObject {
    Q_OBJECT

public:
    /// Whether the state includes meters. They run in the instance only while someone is told.
    enum class Levels { told, untold };
    using Observer = std::function<void(const RunningState& state)>;

    /// Starts watching; throws like RunningInstance. The instance must outlive the object.
    StatusWatch(RunningInstance& instance, Levels levels);

    /// Lets the state include the presets.
    void readPresets();
    /// The state, with meters if they arrive within `patience`.
    RunningState once(std::chrono::milliseconds patience);
    /// Calls `observer` now and after every event, also when the state is the same. Returns after stop();
    /// throws InstanceError when the instance has ended.
    void run(const Observer& observer);

public Q_SLOTS:
    /// Calls the observer again.
    void changed();
    void stop();

private Q_SLOTS:
    void levelsCameIn(const QDBusMessage& signal);
    void propertiesChanged(const QDBusMessage& signal);
    void instanceEnded();

private:
    RunningInstance& instance_;
    RunningState state_;
    bool hasPresets_ = false;
    std::function<void()> onChange_ = [] {};
    bool isStopped_ = false;
    bool hasEnded_ = false;
};

} // namespace vello
