// SPDX-License-Identifier: Apache-2.0
#include "BusConnection.h"

#include <QDBusError>
#include <QUuid>

namespace vello {

// A name of its own each time: the library gives a known name its old, dead connection again.
BusConnection::BusConnection(const std::string& address)
    : bus_(QDBusConnection::connectToBus(QString::fromStdString(address), QUuid::createUuid().toString())) {}

BusConnection::~BusConnection() {
    QDBusConnection::disconnectFromBus(bus_.name());
}

bool BusConnection::isBusSilent() const {
    return !isOpen() && bus_.lastError().type() == QDBusError::NoReply;
}

} // namespace vello
