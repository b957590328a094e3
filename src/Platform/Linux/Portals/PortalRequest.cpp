// SPDX-License-Identifier: Apache-2.0
#include "PortalRequest.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QTimer>
#include <QUuid>

namespace vello {
namespace {

constexpr char kService[] = "org.freedesktop.portal.Desktop";
constexpr char kPath[] = "/org/freedesktop/portal/desktop";
constexpr char kRequest[] = "org.freedesktop.portal.Request";

/// The object that will answer: the portal makes it of the caller's name and the token, so that the answer
/// cannot come before somebody listens.
QString requestPath(const QDBusConnection& bus, const QString& token) {
    QString sender = bus.baseService().mid(1);
    return QString("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender.replace('.', '_'), token);
}

} // namespace

PortalRequest::PortalRequest(const QDBusConnection& bus) : bus_(bus) {}

std::optional<QVariantMap> PortalRequest::call(const QString& interface, const QString& method,
                                               QVariantMap options, std::chrono::milliseconds patience) {
    const QString token = "vello_" + QUuid::createUuid().toString(QUuid::Id128);
    options.insert("handle_token", token);
    bus_.connect(kService, requestPath(bus_, token), kRequest, "Response", this,
                 SLOT(answered(uint, QVariantMap)));
    QDBusMessage question = QDBusMessage::createMethodCall(kService, kPath, interface, method);
    question << QString() << options;
    const QDBusPendingCallWatcher reply(bus_.asyncCall(question));
    connect(&reply, &QDBusPendingCallWatcher::finished, this, &PortalRequest::accepted);
    QTimer::singleShot(patience, &wait_, &QEventLoop::quit);
    wait_.exec(QEventLoop::ExcludeUserInputEvents);
    return results_;
}

/// The portal has made the object that will answer, or refuses.
void PortalRequest::accepted(QDBusPendingCallWatcher* reply) {
    const QDBusPendingReply<QDBusObjectPath> path = *reply;
    if (path.isError())
        wait_.quit();
}

void PortalRequest::answered(uint code, const QVariantMap& results) {
    if (code == 0)
        results_ = results;
    wait_.quit();
}

} // namespace vello
