// SPDX-License-Identifier: Apache-2.0
#include "Control/Bus/LevelSubscriptions.h"

#include "DBusNames.h"

#include <limits>

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace vello {

LevelSubscriptions::LevelSubscriptions(MeterAudience& audience, MainThread& mainThread, Reading reading)
    : audience_(audience), mainThread_(mainThread), reading_(std::move(reading)) {
    watcher_.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    QObject::connect(&watcher_, &QDBusServiceWatcher::serviceUnregistered, &watcher_,
                     [this](const QString& caller) { remove(caller); });
}

void LevelSubscriptions::add(const QDBusConnection& bus, const QString& caller) {
    if (callers_.contains(caller))
        return;
    bus_ = bus;
    watcher_.setConnection(bus);
    watcher_.addWatchedService(caller);
    callers_.insert(caller, 0);
    askForSigns(caller);
    if (seat_)
        return;
    seat_ = audience_.join();
    scheduleSignal();
}

/// Checks that the caller still exists: one that left before it was watched would stay subscribed forever.
void LevelSubscriptions::askForSigns(const QString& caller) {
    QDBusMessage question = QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                           "org.freedesktop.DBus", "NameHasOwner");
    question << caller;
    auto* answer = new QDBusPendingCallWatcher(bus_->asyncCall(question), &watcher_);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, &watcher_, [this, answer, caller] {
        const QDBusPendingReply<bool> reply = *answer;
        if (!reply.isError() && !reply.value())
            remove(caller);
        answer->deleteLater();
    });
}

void LevelSubscriptions::askIfItReads(const QString& caller) {
    const auto question = QDBusMessage::createMethodCall(caller, "/", "org.freedesktop.DBus.Peer", "Ping");
    constexpr int noTimeout = std::numeric_limits<int>::max();
    auto* answer = new QDBusPendingCallWatcher(bus_->asyncCall(question, noTimeout), &watcher_);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, &watcher_, [this, answer, caller] {
        if (const auto found = callers_.find(caller); found != callers_.end())
            *found = 0;
        answer->deleteLater();
    });
}

void LevelSubscriptions::remove(const QString& caller) {
    if (!callers_.remove(caller))
        return;
    watcher_.removeWatchedService(caller);
    if (callers_.isEmpty())
        clear();
}

void LevelSubscriptions::clear() {
    callers_.clear();
    watcher_.setWatchedServices({});
    // Release the watcher's reference to the connection, so that it can close.
    watcher_.setConnection(QDBusConnection(QString()));
    bus_.reset();
    nextSignal_.reset();
    seat_.reset();
}

void LevelSubscriptions::scheduleSignal() {
    nextSignal_ = mainThread_.after(period, [this] {
        scheduleSignal();
        sendSignals();
    });
}

void LevelSubscriptions::sendSignals() {
    const QVariant reading = QVariant::fromValue(reading_());
    for (auto entry = callers_.begin(); entry != callers_.end(); ++entry) {
        const QString& caller = entry.key();
        if (*entry >= mostUnanswered)
            continue;
        if ((*entry)++ == signalsPerQuestion)
            askIfItReads(caller);
        QDBusMessage signal =
            QDBusMessage::createTargetedSignal(caller, dbus::kPath, dbus::kInterface, "Levels");
        signal << reading;
        bus_->send(signal);
    }
}

} // namespace vello
