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

/// The instance's presence on the session bus. Without a bus the instance still works. If the bus is lost,
/// the instance reconnects as soon as a bus is available again. Main thread only.
class BusPresence final : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::seconds firstRetry{1};
    static constexpr std::chrono::seconds longestRetry{60};

    /// Connects to the bus, or logs a failure. The references must outlive the object.
    BusPresence(MainThread& mainThread, SystemLog& log);
    ~BusPresence() override;

    /// Whether another instance owns the name.
    bool isTaken() const;
    /// Registers the object and requests the name. Returns false when another instance owns the name. Call
    /// once.
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
