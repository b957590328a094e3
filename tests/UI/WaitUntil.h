// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>

namespace vello {

/// Runs the event loop until `isMet` or 5 s are over; answers whether it is met.
template <class Condition> bool waitUntil(Condition isMet) {
    const QDeadlineTimer deadline(5000);
    while (!isMet()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    }
    return true;
}

} // namespace vello
