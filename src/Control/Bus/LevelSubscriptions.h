// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Controller/MeterAudience.h"
#include "Control/Bus/StateMaps.h"
#include "Ports/MainThread.h"

#include <functional>
#include <optional>

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QSet>

namespace vello {

/// The callers that want to be told of levels and tempo. The meters run while there is one. Main thread only.
class LevelSubscriptions {
public:
    using Reading = std::function<MapList()>;

    /// From one signal to the next. The first comes this long after the subscription, when the meters have
    /// been read.
    static constexpr std::chrono::milliseconds period{50};

    /// `reading` yields the meters as they are now. References outlive the object.
    LevelSubscriptions(MeterAudience& audience, MainThread& mainThread, Reading reading);

    /// Tells `caller`, a unique name on the bus, until it unsubscribes or vanishes. Once is as good as twice.
    void add(const QDBusConnection& bus, const QString& caller);
    void remove(const QString& caller);
    /// The bus is gone and everybody with it.
    void clear();
    bool isEmpty() const { return callers_.isEmpty(); }

private:
    void askForSigns(const QString& caller);
    void scheduleSignal();
    void sendSignals();

    MeterAudience& audience_;
    MainThread& mainThread_;
    Reading reading_;
    QSet<QString> callers_;
    std::optional<QDBusConnection> bus_;
    QDBusServiceWatcher watcher_;
    MeterAudience::Seat seat_;
    TaskHandle nextSignal_;
};

} // namespace vello
