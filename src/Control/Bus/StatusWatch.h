// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/Bus/RunningInstance.h"

#include <chrono>
#include <functional>

#include <QDBusMessage>
#include <QObject>

namespace vello {

/// The state of a running instance with its meters, as it changes. Needs a running QCoreApplication.
class StatusWatch final : public QObject {
    Q_OBJECT

public:
    using Observer = std::function<void(const RunningState& state)>;

    /// Begins to watch; throws as RunningInstance does. The instance outlives the object.
    explicit StatusWatch(RunningInstance& instance);

    /// The state, with meters if they come in within `patience`.
    RunningState once(std::chrono::milliseconds patience);
    /// Tells `observer` the state now and after every change of it. Throws when the instance ends.
    void run(const Observer& observer);

private Q_SLOTS:
    void levelsCameIn(const QDBusMessage& signal);
    void propertiesChanged();
    void instanceEnded();

private:
    RunningInstance& instance_;
    RunningState state_;
    std::function<void()> onChange_ = [] {};
    bool hasEnded_ = false;
};

} // namespace vello
