// SPDX-License-Identifier: Apache-2.0
#include "Control/Bus/RunningInstance.h"

#include "Control/Bus/StateMaps.h"
#include "DBusNames.h"
#include "Foundation/Environment.h"
#include "Foundation/Text.h"

#include <QDBusReply>
#include <QDBusVariant>
#include <QUuid>

namespace vello {
namespace {

QString addressOfEnvironment() {
    const std::string address = sessionBusAddress(processEnvironment());
    if (address.empty())
        throw InstanceError("noBus",
                            "there is no session bus, so a running VELLO cannot be reached; run this "
                            "inside the user's session");
    return QString::fromStdString(address);
}

QDBusConnection connection(const QString& address) {
    auto bus = QDBusConnection::connectToBus(address, QUuid::createUuid().toString());
    if (!bus.isConnected())
        throw InstanceError("noBus", "the session bus does not answer; run this inside the user's session");
    return bus;
}

/// "unknownSource" for the error "...UnknownSource".
std::string kindOf(const QString& errorName) {
    QString word = errorName.mid(errorName.lastIndexOf('.') + 1);
    if (!word.isEmpty())
        word[0] = word[0].toLower();
    return terminalText(word.toStdString());
}

InstanceError failure(const QDBusMessage& reply) {
    const QString name = reply.errorName();
    const std::string message = terminalText(reply.errorMessage().toStdString());
    if (name == "org.freedesktop.DBus.Error.ServiceUnknown" ||
        name == "org.freedesktop.DBus.Error.NameHasNoOwner")
        return notRunning("VELLO is not running; start it with: vello --headless");
    if (name == "org.freedesktop.DBus.Error.NoReply")
        return {"noAnswer", "VELLO does not answer; look into its log, or end it and start it again"};
    if (name.startsWith(dbus::kErrorPrefix))
        return {kindOf(name), message};
    return {"refused", "VELLO refuses: " + message};
}

} // namespace

RunningInstance::RunningInstance() : RunningInstance(addressOfEnvironment()) {}

RunningInstance::RunningInstance(const QString& busAddress, std::chrono::milliseconds patience)
    : bus_(connection(busAddress)), patience_(patience) {
    registerBusTypes();
}

RunningInstance::~RunningInstance() {
    QDBusConnection::disconnectFromBus(bus_.name());
}

InstanceError notRunning(const std::string& sentence) {
    return {"notRunning", sentence};
}

RunningState RunningInstance::state() const {
    QVariantMap properties;
    for (const char* name :
         {"Version", "ProcessingEnabled", "Permission", "SaveProblem", "Sources", "Outputs"})
        properties.insert(QString::fromLatin1(name), property(name));
    return decodeState(properties);
}

std::vector<PresetState> RunningInstance::presets() const {
    const QVariantList lists = answers("ListPresets");
    return decodePresetLists({.ids = lists.value(0).toStringList(),
                              .builtInNames = lists.value(1).toStringList(),
                              .gains = decodeNumbers(lists.value(2))});
}

std::vector<SourceState> RunningInstance::storedSources() const {
    return decodeSources(answers("ListStoredSources").value(0));
}

std::vector<ExemptStreamState> RunningInstance::exemptStreams() const {
    return decodeExemptStreams(answers("ListExemptStreams").value(0));
}

std::vector<ReadyApplicationState> RunningInstance::readyApplications() const {
    return decodeReadyApplications(answers("ListReadyApplications").value(0));
}

InstanceHealth RunningInstance::health() const {
    return decodeHealth(answers("Diagnose").value(0));
}

std::optional<std::int32_t> RunningInstance::pid() const {
    const auto question =
        QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                       "org.freedesktop.DBus", "GetConnectionUnixProcessID");
    bool isNumber = false;
    const uint pid =
        ask(question, {QString::fromLatin1(dbus::kService)}).arguments().value(0).toUInt(&isNumber);
    return isNumber ? std::optional(static_cast<std::int32_t>(pid)) : std::nullopt;
}

void RunningInstance::call(const char* method, const QVariantList& arguments) const {
    ask(QDBusMessage::createMethodCall(dbus::kService, dbus::kPath, dbus::kInterface,
                                       QString::fromLatin1(method)),
        arguments);
}

QDBusMessage RunningInstance::ask(QDBusMessage question, const QVariantList& arguments) const {
    question.setAutoStartService(false);
    question.setArguments(arguments);
    const QDBusMessage reply = bus_.call(question, QDBus::Block, static_cast<int>(patience_.count()));
    if (reply.type() != QDBusMessage::ReplyMessage)
        throw failure(reply);
    return reply;
}

/// The reply to a method of the interface without arguments.
QVariantList RunningInstance::answers(const char* method) const {
    const auto question =
        QDBusMessage::createMethodCall(dbus::kService, dbus::kPath, dbus::kInterface, method);
    return ask(question, {}).arguments();
}

/// One property. All of them at once would include the presets, which take long when there are thousands.
QVariant RunningInstance::property(const char* name) const {
    const auto question =
        QDBusMessage::createMethodCall(dbus::kService, dbus::kPath, dbus::kPropertiesInterface, "Get");
    const QDBusReply<QDBusVariant> reply =
        ask(question, {QString::fromLatin1(dbus::kInterface), QString::fromLatin1(name)});
    return reply.value().variant();
}

} // namespace vello
