// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/Bus/RunningInstance.h"

#include <chrono>
#include <functional>

#include <QDBusMessage>
#include <QObject>

namespace vello {

/// Follows the state of a running instance, including meters. Needs a QCoreApplication.
class StatusWatch final : public QObject {
    Q_OBJECT

public:
    using Observer = std::function<void(const RunningState& state)>;

    /// Starts watching; throws like RunningInstance. The instance must outlive the object.
    explicit StatusWatch(RunningInstance& instance);

    /// The state, with meters if they arrive within `patience`.
    RunningState once(std::chrono::milliseconds patience);
    /// Calls `observer` now and after every change. Returns only by throwing, at the latest when the instance
    /// exits.
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
