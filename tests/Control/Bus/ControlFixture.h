// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Controller/AudioController.h"
#include "AudioEngine/Controller/MeterAudience.h"
#include "Control/Bus/BusPresence.h"
#include "Control/Bus/ControlService.h"
#include "Platform/Qt/QtMainThread.h"

#include "support/FakeApplicationEvents.h"
#include "support/FakeAudioHardware.h"
#include "support/FakeCaptureAuthorization.h"
#include "support/FakeKeyValueStore.h"
#include "support/FakeRunningApplications.h"
#include "support/RecordingSystemLog.h"
#include "support/TemporaryFolder.h"
#include "support/WaitUntil.h"

#include "PrivateBus.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>

#include <gmock/gmock.h>

#include <bit>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace vello {

/// An instance with fake ports on a private real bus, and a client of that bus. Process 101 belongs to the
/// application "player", process 102 to "browser". The outputs are "speakers" and "headphones".
class Control : public testing::Test {
protected:
    Control() {
        qputenv("DBUS_SESSION_BUS_ADDRESS", QByteArray::fromStdString(bus.address()));
        hardware.setDefaultOutputDevice(speakers);
        hardware.addDevice({.uid = "headphones", .name = "Headphones"});
        applications.applications[101] = {"org.example.player", "Player", std::nullopt};
        applications.applications[102] = {"org.example.browser", "Browser", std::nullopt};
        authorization.answer = Consent::allowed;
    }
    ~Control() override {
        if (client)
            QDBusConnection::disconnectFromBus("test");
    }

    /// Starts the instance on the bus while "player" plays.
    void start() {
        player = hardware.addProcess({.pid = 101});
        presence = std::make_unique<BusPresence>(mainThread, log);
        controller = std::make_unique<AudioController>(
            AudioControllerPorts{hardware, mainThread, applications, events, authorization, cloud, log},
            folder.path());
        audience = std::make_unique<MeterAudience>(*controller);
        service = std::make_unique<ControlService>(*controller, *audience, mainThread, showPanel, readHealth);
        ASSERT_TRUE(presence->publish(*service));
        ASSERT_TRUE(waitUntil([this] {
            const auto found = controller->tapStates().value().find("org.example.player");
            return found != controller->tapStates().value().end() &&
                   found->second.stage == TapCoordinator::TapStage::running;
        }));
        connectClient();
        awaitStartTold();
    }
    /// Stops "player", with settings that change its sound, and waits until it is held ready.
    void stopPlayer() {
        controller->updateSettings({.volume = 0.5}, "org.example.player");
        hardware.removeObject(player);
        ASSERT_TRUE(waitUntil([this] { return !controller->readyApplications().empty(); }));
    }
    void connectClient() {
        client = QDBusConnection::connectToBus(QString::fromStdString(bus.address()), "test");
        ASSERT_TRUE(client->isConnected());
    }

    /// Waits until all signals caused by the start have been sent, so that later listeners do not receive
    /// them.
    void awaitStartTold() {
        bool isSent = false;
        const auto behindIt = mainThread.after(std::chrono::milliseconds(1), [&isSent] { isSent = true; });
        ASSERT_TRUE(waitUntil([&isSent] { return isSent; }));
        ask("org.freedesktop.DBus.Peer", "Ping", {}); // the reply arrives after the signals
    }

    QDBusMessage ask(const char* interface, const char* method, const QVariantList& arguments) {
        QDBusMessage question =
            QDBusMessage::createMethodCall("com.quorvin.Vello", "/com/quorvin/Vello", interface, method);
        question.setArguments(arguments);
        const QDBusPendingCall answer = client->asyncCall(question);
        EXPECT_TRUE(waitUntil([&] { return answer.isFinished(); })) << method << " has no answer";
        return answer.reply();
    }
    QDBusMessage call(const char* method, const QVariantList& arguments = {}) {
        return ask("com.quorvin.Vello1", method, arguments);
    }
    QDBusMessage set(const char* source, const QVariantMap& changes) {
        return call("SetSettings", {source, changes});
    }
    static QVariant gains(const std::vector<double>& values) {
        return QVariant::fromValue(QList<double>(values.begin(), values.end()));
    }
    /// The whole state as published on the bus.
    RunningState state() {
        const QDBusMessage reply =
            ask("org.freedesktop.DBus.Properties", "GetAll", {QString("com.quorvin.Vello1")});
        return decodeState(qdbus_cast<QVariantMap>(reply.arguments().value(0)));
    }
    void setLevel(float level) const {
        controller->taps().at("org.example.player")->realtimeContext()->levelBits =
            std::bit_cast<std::uint32_t>(level);
    }

    int argumentCount = 1;
    std::string programName = "test";
    std::vector<char*> programArguments{programName.data(), nullptr};
    QCoreApplication application{argumentCount, programArguments.data()};
    TemporaryFolder folder;
    session::PrivateBus bus{folder / "session", session::PrivateBus::Services::none};
    QtMainThread mainThread;
    FakeAudioHardware hardware{mainThread};
    AudioObjectID speakers = hardware.addDevice({.uid = "speakers", .name = "Speakers"});
    AudioObjectID player = kAudioObjectUnknown;
    FakeRunningApplications applications;
    FakeApplicationEvents events;
    FakeCaptureAuthorization authorization;
    FakeKeyValueStore cloud;
    RecordingSystemLog log;
    ControlService::ShowPanelAction showPanel;
    ReadHealth readHealth = [] { return InstanceHealth(); };
    std::unique_ptr<AudioController> controller;
    std::unique_ptr<MeterAudience> audience;
    std::unique_ptr<ControlService> service;
    std::unique_ptr<BusPresence> presence;
    std::optional<QDBusConnection> client;
};

MATCHER(IsDone, "") {
    *result_listener << arg.errorName().toStdString() << ": " << arg.errorMessage().toStdString();
    return arg.type() == QDBusMessage::ReplyMessage;
}
MATCHER_P(IsRefused, name, "") {
    *result_listener << arg.errorName().toStdString() << ": " << arg.errorMessage().toStdString();
    return arg.type() == QDBusMessage::ErrorMessage && !arg.errorMessage().isEmpty() &&
           arg.errorName() == QString("com.quorvin.Vello1.Error.") + name;
}

} // namespace vello
