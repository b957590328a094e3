// SPDX-License-Identifier: Apache-2.0
#include "UI/Appearance/SettingsPortal.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

namespace vello {
namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.Settings");

/// Unpacks nested variants. Invalid for a value that is neither a basic type nor a colour.
QVariant plain(QVariant value) {
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    if (value.metaType() != QMetaType::fromType<QDBusArgument>())
        return value;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != QLatin1String("(ddd)"))
        return {};
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    argument.beginStructure();
    argument >> red >> green >> blue;
    argument.endStructure();
    return QVariantList{red, green, blue};
}

/// Reads a{sa{sv}}. Where several desktops are installed, version 1.16 of the portal sends a namespace once
/// for each of them. The first one, of the running desktop, decides; a map of Qt would keep the last one.
PortalSettings read(const QDBusArgument& answer) {
    PortalSettings result;
    answer.beginMap();
    while (!answer.atEnd()) {
        QString space;
        QVariantMap values;
        answer.beginMapEntry();
        answer >> space >> values;
        answer.endMapEntry();
        if (!portalNamespaces().contains(space))
            continue;
        QVariantMap& kept = result[space];
        for (auto value = values.begin(); value != values.end(); ++value)
            if (!kept.contains(value.key()))
                kept[value.key()] = plain(value.value());
    }
    answer.endMap();
    return result;
}

} // namespace

SettingsPortal::SettingsPortal(QDBusConnection connection, Missing missing)
    : connection_(std::move(connection)),
      watcher_(kService, connection_, QDBusServiceWatcher::WatchForRegistration) {
    // Qt 6.4 cannot connect a signal with a variant argument before the type is registered.
    qRegisterMetaType<QDBusVariant>();
    qDBusRegisterMetaType<PortalSettings>();
    // Subscribe before the request, so that no change is missed.
    connection_.connect(kService, kPath, kInterface, QStringLiteral("SettingChanged"), this,
                        SLOT(takeChange(QString, QString, QDBusVariant)));
    connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, this, [this] { ask(Missing::awaited); });
    ask(missing);
}

void SettingsPortal::ask(Missing missing) {
    delete awaited_;
    QDBusMessage call =
        QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("ReadAll"));
    call.setAutoStartService(missing == Missing::started);
    call << portalNamespaces();
    awaited_ = new QDBusPendingCallWatcher(connection_.asyncCall(call), this);
    connect(awaited_, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* answer) {
        takeAnswer(*answer);
        answer->deleteLater();
    });
}

void SettingsPortal::takeAnswer(QDBusPendingCallWatcher& answer) {
    const QDBusPendingReply<PortalSettings> reply = answer;
    if (reply.isError()) {
        // Without a portal, or with one that has no settings, the toolkit's appearance applies.
        if (!answer.reply().signature().isEmpty() && answer.reply().type() == QDBusMessage::ReplyMessage)
            qWarning("The settings portal answers with a value of type %s instead of a{sa{sv}}. The "
                     "desktop's appearance is followed only as far as the toolkit knows it; check which "
                     "portal runs with: busctl --user status %s",
                     qPrintable(answer.reply().signature()), qPrintable(kService));
        return;
    }
    PortalSettings told = read(answer.reply().arguments().constFirst().value<QDBusArgument>());
    if (told == settings_)
        return;
    settings_ = std::move(told);
    emit changed();
}

void SettingsPortal::takeChange(const QString& space, const QString& key, const QDBusVariant& value) {
    if (!portalNamespaces().contains(space))
        return;
    QVariant& kept = settings_[space][key];
    QVariant told = plain(value.variant());
    if (told == kept)
        return;
    kept = std::move(told);
    emit changed();
}

} // namespace vello
