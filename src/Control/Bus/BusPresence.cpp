// SPDX-License-Identifier: Apache-2.0
#include "Control/Bus/BusPresence.h"

#include "DBusNames.h"
#include "Foundation/Environment.h"
#include "Foundation/Product.h"

#include <algorithm>

#include <QDBusConnectionInterface>
#include <QUuid>

namespace vello {

BusPresence::BusPresence(MainThread& mainThread, SystemLog& log)
    : mainThread_(mainThread), logger_(log, kBundleIdentifier, "BusPresence") {
    if (!connectToBus())
        logger_.notice("There is no session bus; VELLO cannot be controlled from outside");
}

BusPresence::~BusPresence() {
    disconnectFromBus();
}

bool BusPresence::isTaken() const {
    return bus_ && bus_->interface()->isServiceRegistered(dbus::kService);
}

bool BusPresence::publish(ControlService& service) {
    service_ = &service;
    return !bus_ || takePlace();
}

bool BusPresence::connectToBus() {
    const std::string address = sessionBusAddress(processEnvironment());
    if (address.empty())
        return false;
    // Use a new name each time: for a known name, the library would return the old, dead connection.
    auto bus = QDBusConnection::connectToBus(QString::fromStdString(address), QUuid::createUuid().toString());
    if (!bus.isConnected()) {
        QDBusConnection::disconnectFromBus(bus.name());
        return false;
    }
    bus.connect({}, "/org/freedesktop/DBus/Local", "org.freedesktop.DBus.Local", "Disconnected", this,
                SLOT(busIsGone()));
    bus_ = std::move(bus);
    return true;
}

void BusPresence::disconnectFromBus() {
    if (service_)
        service_->disappear();
    if (!bus_)
        return;
    const QString name = bus_->name();
    bus_.reset();
    QDBusConnection::disconnectFromBus(name);
}

/// Registers the object before the name, so that it can be called as soon as the name is visible.
bool BusPresence::takePlace() {
    if (!service_ || !service_->appear(*bus_))
        return false;
    const auto reply =
        bus_->interface()->registerService(dbus::kService, QDBusConnectionInterface::DontQueueService,
                                           QDBusConnectionInterface::DontAllowReplacement);
    return reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered;
}

void BusPresence::busIsGone() {
    logger_.notice("The session bus is gone; VELLO goes on and waits for another");
    disconnectFromBus();
    retryIn(firstRetry);
}

void BusPresence::retryIn(std::chrono::seconds delay) {
    retry_ = mainThread_.after(delay, [this, delay] {
        if (connectToBus()) {
            if (takePlace())
                return logger_.notice("VELLO is on the session bus again");
            disconnectFromBus();
        }
        retryIn(std::min(2 * delay, longestRetry));
    });
}

} // namespace vello
