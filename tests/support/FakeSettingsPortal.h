// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance/PortalChoices.h"

#include <QDBusConnection>
#include <QDBusVirtualObject>

#include <functional>

namespace vello {

/// A settings portal on a private bus. It exists after `appear`.
class FakeSettingsPortal : public QDBusVirtualObject {
public:
    explicit FakeSettingsPortal(const std::string& busAddress);
    ~FakeSettingsPortal() override;

    void appear();
    void vanish();
    /// Stores a value and emits the change signal.
    void set(const QString& space, const QString& key, const QVariant& value);
    void tell(const QString& space, const QString& key, const QVariant& value) const;
    /// A colour in the D-Bus format (ddd).
    static QVariant color(double red, double green, double blue);

    PortalSettings settings; ///< values in their D-Bus format
    int askedCount = 0;
    QStringList askedNamespaces;
    /// Its result is sent instead of the settings; an invalid result means that no reply is sent.
    std::function<QVariant()> oddAnswer;

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;
    QString introspect(const QString& path) const override;

private:
    QDBusConnection connection_;
};

} // namespace vello
