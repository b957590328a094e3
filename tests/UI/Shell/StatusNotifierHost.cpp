// SPDX-License-Identifier: Apache-2.0
#include "StatusNotifierHost.h"

#include "support/WaitUntil.h"

#include <QDBusPendingCall>
#include <QDBusVariant>

#include <stdexcept>
#include <utility>

namespace vello {
namespace {

const QString kWatcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString kWatcherPath = QStringLiteral("/StatusNotifierWatcher");
const QString kItemsSide = QStringLiteral("items");
const QString kHostsSide = QStringLiteral("hosts");

} // namespace

StatusNotifierWatcher::StatusNotifierWatcher(QDBusConnection connection, Mood firstMood)
    : mood(firstMood), connection_(std::move(connection)) {
    connection_.registerObject(kWatcherPath, this,
                               QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
    connection_.registerService(kWatcherName);
}

StatusNotifierWatcher::~StatusNotifierWatcher() {
    connection_.unregisterService(kWatcherName);
    connection_.unregisterObject(kWatcherPath);
}

void StatusNotifierWatcher::RegisterStatusNotifierItem(const QString& service, const QDBusMessage& message) {
    items.append(service);
    if (mood == Mood::refusesItems) {
        message.setDelayedReply(true);
        connection_.send(message.createErrorReply(QDBusError::Failed, QStringLiteral("there is no room")));
    }
}

StatusNotifierBus::StatusNotifierBus()
    : itemsSide_(QDBusConnection::connectToBus(QString::fromStdString(bus_.address()), kItemsSide)),
      hostsSide_(QDBusConnection::connectToBus(QString::fromStdString(bus_.address()), kHostsSide)) {}

StatusNotifierBus::~StatusNotifierBus() {
    watcher_.reset();
    QDBusConnection::disconnectFromBus(kItemsSide);
    QDBusConnection::disconnectFromBus(kHostsSide);
}

StatusNotifierWatcher& StatusNotifierBus::startWatcher(StatusNotifierWatcher::Mood mood) {
    watcher_.reset();
    watcher_ = std::make_unique<StatusNotifierWatcher>(hostsSide_, mood);
    return *watcher_;
}

QDBusMessage StatusNotifierBus::call(const QString& path, const QString& interface, const QString& method,
                                     const QVariantList& arguments) const {
    QDBusMessage message = QDBusMessage::createMethodCall(itemsSide_.baseService(), path, interface, method);
    message.setArguments(arguments);
    // Asynchronous, because the other side runs in the same thread.
    const QDBusPendingCall pending = hostsSide_.asyncCall(message);
    if (!waitUntil([&pending] { return pending.isFinished(); }))
        throw std::runtime_error("no answer to " + method.toStdString());
    return pending.reply();
}

QVariant StatusNotifierBus::property(const QString& path, const QString& interface,
                                     const QString& name) const {
    const QDBusMessage reply = call(path, QStringLiteral("org.freedesktop.DBus.Properties"),
                                    QStringLiteral("Get"), {interface, name});
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return {};
    return reply.arguments().first().value<QDBusVariant>().variant();
}

} // namespace vello
