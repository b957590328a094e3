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

/// The settings of the desktop's portal (interface org.freedesktop.portal.Settings), kept up to date: reads
/// them once, then follows change signals, and reads them again whenever a portal appears. Without a portal
/// there are no settings; while one restarts, the last ones remain. Blocks only on the bus itself.
class SettingsPortal : public QObject {
    Q_OBJECT

public:
    /// Whether a portal that does not run yet is awaited or started.
    enum class Missing { awaited, started };
    SettingsPortal(QDBusConnection connection, Missing missing);

    /// The settings in the namespaces of portalNamespaces().
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
    QPointer<QDBusPendingCallWatcher> awaited_; ///< answers to older requests are dropped
    PortalSettings settings_;
};

} // namespace vello
