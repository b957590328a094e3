// SPDX-License-Identifier: Apache-2.0
#include "Control/Bus/RunningInstance.h"

#include "Control/Bus/StateMaps.h"
#include "DBusNames.h"
#include "Foundation/Environment.h"
#include "Foundation/Text.h"

#include <stdexcept>

#include <QDBusMessage>
#include <QDBusReply>
#include <QUuid>

namespace vello {
namespace {

constexpr int kPatience = 5000; // milliseconds
constexpr char kNotRunning[] = "VELLO is not running; start it with: vello --headless";

QString addressOfEnvironment() {
    const std::string address = sessionBusAddress(processEnvironment());
    if (address.empty())
        throw std::runtime_error("there is no session bus, so a running VELLO cannot be reached; run this "
                                 "inside the user's session");
    return QString::fromStdString(address);
}

QDBusConnection connection(const QString& address) {
    auto bus = QDBusConnection::connectToBus(address, QUuid::createUuid().toString());
    if (!bus.isConnected())
        throw std::runtime_error("the session bus does not answer; run this inside the user's session");
    return bus;
}

std::string sentence(const QDBusMessage& reply) {
    const QString name = reply.errorName();
    if (name == "org.freedesktop.DBus.Error.ServiceUnknown" ||
        name == "org.freedesktop.DBus.Error.NameHasNoOwner")
        return kNotRunning;
    if (name == "org.freedesktop.DBus.Error.NoReply")
        return "VELLO does not answer; look into its log, or end it and start it again";
    if (name.startsWith(dbus::kErrorPrefix))
        return terminalText(reply.errorMessage().toStdString());
    return "VELLO refuses: " + terminalText(reply.errorMessage().toStdString());
}

QDBusMessage answer(const QDBusConnection& bus, QDBusMessage question, const QVariantList& arguments) {
    question.setAutoStartService(false);
    question.setArguments(arguments);
    const QDBusMessage reply = bus.call(question, QDBus::Block, kPatience);
    if (reply.type() != QDBusMessage::ReplyMessage)
        throw std::runtime_error(sentence(reply));
    return reply;
}

/// The reply to a method of the interface without arguments.
QVariant answer(const QDBusConnection& bus, const char* method) {
    const auto question =
        QDBusMessage::createMethodCall(dbus::kService, dbus::kPath, dbus::kInterface, method);
    return answer(bus, question, {}).arguments().value(0);
}

} // namespace

RunningInstance::RunningInstance() : RunningInstance(addressOfEnvironment()) {}

RunningInstance::RunningInstance(const QString& busAddress) : bus_(connection(busAddress)) {
    registerBusTypes();
}

RunningInstance::~RunningInstance() {
    QDBusConnection::disconnectFromBus(bus_.name());
}

RunningState RunningInstance::state() const {
    const QDBusReply<QVariantMap> properties = answer(
        bus_,
        QDBusMessage::createMethodCall(dbus::kService, dbus::kPath, dbus::kPropertiesInterface, "GetAll"),
        {QString::fromLatin1(dbus::kInterface)});
    return decodeState(properties.value());
}

std::vector<ExemptStreamState> RunningInstance::exemptStreams() const {
    return decodeExemptStreams(answer(bus_, "ListExemptStreams"));
}

std::vector<ReadyApplicationState> RunningInstance::readyApplications() const {
    return decodeReadyApplications(answer(bus_, "ListReadyApplications"));
}

void RunningInstance::call(const char* method, const QVariantList& arguments) const {
    answer(bus_,
           QDBusMessage::createMethodCall(dbus::kService, dbus::kPath, dbus::kInterface,
                                          QString::fromLatin1(method)),
           arguments);
}

} // namespace vello
