// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance/PortalChoices.h"

#include <QDBusConnection>
#include <QDBusVirtualObject>

#include <functional>

namespace vello {

/// A settings portal on a bus of the test's own. It is there after `appear`.
class FakeSettingsPortal : public QDBusVirtualObject {
public:
    explicit FakeSettingsPortal(const std::string& busAddress);
    ~FakeSettingsPortal() override;

    void appear();
    void vanish();
    /// Keeps a value for those who ask, and tells it to those who listen.
    void set(const QString& space, const QString& key, const QVariant& value);
    void tell(const QString& space, const QString& key, const QVariant& value) const;
    /// A colour as it travels: (ddd).
    static QVariant color(double red, double green, double blue);

    PortalSettings settings; ///< values as they travel
    int askedCount = 0;
    QStringList askedNamespaces;
    /// What it answers instead of its settings; an answer without a value is none.
    std::function<QVariant()> oddAnswer;

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;
    QString introspect(const QString& path) const override;

private:
    QDBusConnection connection_;
};

} // namespace vello
