// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Controller/MeterAudience.h"
#include "Control/Bus/StateMaps.h"
#include "Ports/MainThread.h"

#include <functional>
#include <optional>

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QMap>

namespace vello {

/// The clients subscribed to levels and tempo. Keeps the meters running while there is at least one. Main
/// thread only.
class LevelSubscriptions {
public:
    using Reading = std::function<MapList()>;

    /// Time between two signals, and before the first one, so that the meters have been read by then.
    static constexpr std::chrono::milliseconds period{50};

    /// `reading` returns the current meter values. The references must outlive the object.
    LevelSubscriptions(MeterAudience& audience, MainThread& mainThread, Reading reading);

    /// Sends signals to `caller`, a unique bus name, until it unsubscribes or leaves the bus. Repeated calls
    /// have no effect.
    void add(const QDBusConnection& bus, const QString& caller);
    void remove(const QString& caller);
    /// Removes all callers, for example when the bus is lost.
    void clear();
    bool isEmpty() const { return callers_.isEmpty(); }

private:
    /// A subscriber that has not answered for so many signals gets no more until it answers: the bus would
    /// keep them in memory for a process that stands still.
    static constexpr int mostUnanswered = 60;
    static constexpr int signalsPerQuestion = 20;

    void askForSigns(const QString& caller);
    void askIfItReads(const QString& caller);
    void scheduleSignal();
    void sendSignals();

    MeterAudience& audience_;
    MainThread& mainThread_;
    Reading reading_;
    QMap<QString, int> callers_; ///< signals since the last answer, by bus name
    std::optional<QDBusConnection> bus_;
    QDBusServiceWatcher watcher_;
    MeterAudience::Seat seat_;
    TaskHandle nextSignal_;
};

} // namespace vello
