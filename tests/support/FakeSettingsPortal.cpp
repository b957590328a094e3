// SPDX-License-Identifier: Apache-2.0
#include "FakeSettingsPortal.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>

#include <stdexcept>

namespace vello {
namespace {

const QString kConnection = QStringLiteral("fake settings portal");
const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.Settings");

} // namespace

FakeSettingsPortal::FakeSettingsPortal(const std::string& busAddress)
    : connection_(QDBusConnection::connectToBus(QString::fromStdString(busAddress), kConnection)) {
    qDBusRegisterMetaType<PortalSettings>();
    if (!connection_.registerVirtualObject(kPath, this))
        throw std::runtime_error("the fake portal is not on the bus");
}

FakeSettingsPortal::~FakeSettingsPortal() {
    QDBusConnection::disconnectFromBus(kConnection);
}

void FakeSettingsPortal::appear() {
    if (!connection_.registerService(kService))
        throw std::runtime_error("the portal's name is taken");
}

void FakeSettingsPortal::vanish() {
    connection_.unregisterService(kService);
}

void FakeSettingsPortal::set(const QString& space, const QString& key, const QVariant& value) {
    settings[space][key] = value;
    tell(space, key, value);
}

void FakeSettingsPortal::tell(const QString& space, const QString& key, const QVariant& value) const {
    QDBusMessage change = QDBusMessage::createSignal(kPath, kInterface, QStringLiteral("SettingChanged"));
    change << space << key << QVariant::fromValue(QDBusVariant(value));
    connection_.send(change);
}

QVariant FakeSettingsPortal::color(double red, double green, double blue) {
    QDBusArgument shares;
    shares.beginStructure();
    shares << red << green << blue;
    shares.endStructure();
    return QVariant::fromValue(shares);
}

bool FakeSettingsPortal::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    if (message.interface() != kInterface || message.member() != QLatin1String("ReadAll"))
        return false;
    ++askedCount;
    askedNamespaces = message.arguments().value(0).toStringList();
    const QVariant answer = oddAnswer ? oddAnswer() : QVariant::fromValue(settings);
    if (answer.isValid())
        connection.send(message.createReply(answer));
    return true;
}

QString FakeSettingsPortal::introspect(const QString&) const {
    return {};
}

} // namespace vello
