// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Consent/PermissionStore.h"

#include "Foundation/Product.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

namespace vello {
namespace {

constexpr char kService[] = "org.freedesktop.impl.portal.PermissionStore";
constexpr char kPath[] = "/org/freedesktop/impl/portal/PermissionStore";
constexpr char kTable[] = "vello";
constexpr char kId[] = "capture";
constexpr char kYes[] = "yes";
constexpr char kNo[] = "no";

QDBusMessage call(const char* method, const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall(kService, kPath, kService, QString::fromLatin1(method));
    message.setArguments(arguments);
    return message;
}

QDBusMessage lookupCall() {
    return call("Lookup", {kTable, kId});
}

[[noreturn]] void fail(const QString& reason) {
    throw std::runtime_error(std::string("the desktop's permission store does not answer (")
                                 .append(reason.toStdString())
                                 .append("); try again, or log out and in"));
}

/// The bus does not know the service, or could not start it.
bool saysThereIsNoStore(const QDBusMessage& reply) {
    constexpr std::array names{"org.freedesktop.DBus.Error.ServiceUnknown",
                               "org.freedesktop.DBus.Error.NameHasNoOwner",
                               "org.freedesktop.DBus.Error.UnknownMethod"};
    return std::ranges::find(names, reply.errorName()) != names.end() ||
           reply.errorName().startsWith("org.freedesktop.DBus.Error.Spawn.");
}

bool saysThereIsNoEntry(const QDBusMessage& reply) {
    return reply.errorName() == "org.freedesktop.portal.Error.NotFound";
}

/// Of the reply to Lookup: permissions by application, and a value that is not ours. Exactly one word, and
/// one of ours, is an answer.
Consent consentIn(const QDBusMessage& reply) {
    if (reply.signature() != "a{sas}v")
        return Consent::undecided;
    const auto permissions = qdbus_cast<QMap<QString, QStringList>>(reply.arguments().at(0));
    const QStringList words = permissions.value(QString::fromLatin1(kBundleIdentifier));
    if (words == QStringList{kYes})
        return Consent::allowed;
    return words == QStringList{kNo} ? Consent::denied : Consent::undecided;
}

} // namespace

PermissionStore::PermissionStore(const QDBusConnection& bus)
    : bus_(bus), services_(kService, bus, QDBusServiceWatcher::WatchForRegistration) {}

PermissionStore::Answer PermissionStore::lookUp(std::chrono::milliseconds patience) const {
    const QDBusMessage reply = bus_.call(lookupCall(), QDBus::Block, static_cast<int>(patience.count()));
    if (reply.type() == QDBusMessage::ReplyMessage)
        return consentIn(reply);
    if (saysThereIsNoEntry(reply))
        return Consent::undecided;
    if (saysThereIsNoStore(reply))
        return std::nullopt;
    fail(reply.errorMessage());
}

bool PermissionStore::store(Consent answer) const {
    const QStringList words{answer == Consent::allowed ? kYes : kNo};
    const QDBusMessage reply =
        bus_.call(call("SetPermission", {kTable, true, kId, QString::fromLatin1(kBundleIdentifier), words}),
                  QDBus::Block, static_cast<int>(longestWait.count()));
    if (reply.type() == QDBusMessage::ReplyMessage)
        return true;
    if (saysThereIsNoStore(reply))
        return false;
    fail(reply.errorMessage());
}

void PermissionStore::read(OnAnswer onAnswer) {
    auto* pending = new QDBusPendingCallWatcher(
        bus_.asyncCall(lookupCall(), static_cast<int>(longestWait.count())), this);
    connect(pending, &QDBusPendingCallWatcher::finished, this, [pending, onAnswer = std::move(onAnswer)] {
        pending->deleteLater();
        const QDBusMessage reply = pending->reply();
        if (reply.type() == QDBusMessage::ReplyMessage)
            onAnswer(consentIn(reply));
        else if (saysThereIsNoEntry(reply))
            onAnswer(Consent::undecided);
        else if (saysThereIsNoStore(reply))
            onAnswer(std::nullopt);
    });
}

void PermissionStore::follow(OnAnswer onAnswer) {
    onChange_ = std::move(onAnswer);
    // Whoever says so: the answer is read from the store itself.
    QDBusConnection(bus_).connect({}, kPath, kService, "Changed", {kTable, kId}, {}, this,
                                  SLOT(mayHaveChanged()));
    connect(&services_, &QDBusServiceWatcher::serviceRegistered, this, &PermissionStore::mayHaveChanged);
    mayHaveChanged();
}

void PermissionStore::mayHaveChanged() {
    read(onChange_);
}

} // namespace vello
