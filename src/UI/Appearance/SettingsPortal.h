// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance/PortalChoices.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>
#include <QPointer>

class QDBusPendingCallWatcher;

namespace vello {

/// What the desktop's settings portal tells (interface org.freedesktop.portal.Settings), kept up to date:
/// it asks once, then listens, and asks again whenever a portal appears. Without a portal there are no
/// settings; while one restarts the last ones hold. Waits for nothing but the bus itself.
class SettingsPortal : public QObject {
    Q_OBJECT

public:
    /// A portal that does not run yet.
    enum class Missing { awaited, started };
    SettingsPortal(QDBusConnection connection, Missing missing);

    /// Of the namespaces that `portalChoices` understands.
    const PortalSettings& settings() const { return settings_; }

signals:
    void changed();

private slots:
    void takeChange(const QString& space, const QString& key, const QDBusVariant& value);

private:
    void ask(Missing missing);
    void takeAnswer(QDBusPendingCallWatcher& answer);

    QDBusConnection connection_;
    QDBusServiceWatcher watcher_;
    QPointer<QDBusPendingCallWatcher> awaited_; ///< an older answer counts no more
    PortalSettings settings_;
};

} // namespace vello
