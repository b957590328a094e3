// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include <QDBusConnection>

namespace vello {

/// A connection to the bus at an address, for one owner: it is closed with this object. Any thread.
class BusConnection {
public:
    /// Waits for the bus, which may take 25 s when that is silent.
    explicit BusConnection(const std::string& address);
    ~BusConnection();
    BusConnection(const BusConnection&) = delete;
    BusConnection& operator=(const BusConnection&) = delete;

    /// False: there is no bus at the address.
    bool isOpen() const { return bus_.isConnected(); }
    /// There is one, but it does not answer.
    bool isBusSilent() const;
    const QDBusConnection& bus() const { return bus_; }

private:
    const QDBusConnection bus_;
};

} // namespace vello
