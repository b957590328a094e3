// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

#include <chrono>

namespace vello {

/// Runs the event loop until `isMet` or 5 s are over; answers whether it is met. It sleeps while nothing
/// happens, and looks again after every event and every few milliseconds.
template <class Condition> [[nodiscard]] bool waitUntil(Condition isMet) {
    const QDeadlineTimer deadline(std::chrono::seconds(5));
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
