// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

#include <chrono>

namespace vello {

/// Runs Qt's event loop until `isMet` returns true or the time is over; returns the last result. The
/// condition is evaluated after every event, and every few milliseconds while no events arrive.
template <class Condition>
[[nodiscard]] bool waitUntil(Condition isMet, std::chrono::milliseconds most = std::chrono::seconds(5)) {
    const QDeadlineTimer deadline(most);
    QTimer wakeUp;
    wakeUp.start(std::chrono::milliseconds(5));
    while (!isMet()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace vello
