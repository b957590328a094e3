// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/Bus/ControlService.h"
#include "Ports/MainThread.h"
#include "Ports/SystemLog.h"

#include <chrono>
#include <optional>

#include <QDBusConnection>
#include <QObject>
#include <QPointer>
#include <QString>

namespace vello {

/// Where the session bus is, by the environment; nothing where there is none. Never starts one.
std::optional<QString> sessionBusAddress();

/// The instance's place on the session bus. Where there is no bus, the instance does without; when the bus
/// goes, it goes on and takes its place again as soon as a bus is back. Main thread only.
class BusPresence final : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::seconds firstRetry{1};
    static constexpr std::chrono::seconds longestRetry{60};

    /// Connects, and logs when it cannot. References outlive the object.
    BusPresence(MainThread& mainThread, SystemLog& log);
    ~BusPresence() override;

    /// Another instance has the name.
    bool isTaken() const;
    /// Puts the object on the bus and takes the name. False when another instance has the name. Once.
    bool publish(ControlService& service);

private Q_SLOTS:
    void busIsGone();

private:
    bool connectToBus();
    void disconnectFromBus();
    bool takePlace();
    void retryIn(std::chrono::seconds delay);

    MainThread& mainThread_;
    Logger logger_;
    std::optional<QDBusConnection> bus_;
    QPointer<ControlService> service_;
    TaskHandle retry_;
};

} // namespace vello
