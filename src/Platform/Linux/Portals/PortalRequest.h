// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>

#include <QDBusConnection>
#include <QEventLoop>
#include <QObject>
#include <QVariantMap>

class QDBusPendingCallWatcher;

namespace vello {

/// A call of one of the desktop's portals, which answers with a signal of an object made for the call. One
/// use; one thread, with an event loop.
class PortalRequest final : public QObject {
    Q_OBJECT

public:
    explicit PortalRequest(const QDBusConnection& bus);

    /// Calls `method` of the portal's interface with no parent window and these options, and waits for the
    /// answer. Absent when it does not come in time, or when the portal or the user refuses.
    std::optional<QVariantMap> call(const QString& interface, const QString& method, QVariantMap options,
                                    std::chrono::milliseconds patience);

private Q_SLOTS:
    void answered(uint code, const QVariantMap& results);

private:
    void accepted(QDBusPendingCallWatcher* reply);

    QDBusConnection bus_;
    QEventLoop wait_;
    std::optional<QVariantMap> results_;
};

} // namespace vello
