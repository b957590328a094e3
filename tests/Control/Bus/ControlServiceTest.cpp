// SPDX-License-Identifier: Apache-2.0
#include "Control/Bus/StateMaps.h"

#include "ControlFixture.h"

#include <QElapsedTimer>
#include <QXmlStreamReader>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <limits>

namespace vello {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr char kPlayer[] = "org.example.player";
const std::vector<double> kCurve{-12, -6, -3, 0, 0.5, 3, 6, 12};

/// Records the signals that a connection receives.
class SignalNotes : public QObject {
    Q_OBJECT

public:
    SignalNotes(QDBusConnection bus, const char* interface, const char* name) {
        bus.connect("com.quorvin.Vello", "/com/quorvin/Vello", interface, name, this,
                    SLOT(note(QDBusMessage)));
    }
    std::vector<QDBusMessage> signals_;

private Q_SLOTS:
    void note(const QDBusMessage& signal) { signals_.push_back(signal); }
};

struct ControlServiceTests : Control {
    const EQSettings& settings(const std::string& id = kPlayer) {
        return controller->settingsBySourceID().value().at(id);
    }
};

TEST_F(ControlServiceTests, TellsTheWholeState) {
    start();
    controller->saveUserPreset("Mine", kCurve);
    ASSERT_THAT(set(kPlayer, {{"volume", 0.5}, {"outputDeviceUID", "headphones"}}), IsDone());
    ASSERT_TRUE(waitUntil([&] {
        const RunningState now = state();
        return now.sources.size() == 2 && now.sources[1].deviceUID == "headphones";
    }));
    const RunningState told = state();
    EXPECT_FALSE(told.version.empty());
    EXPECT_TRUE(told.isProcessingEnabled);
    EXPECT_EQ(told.consent, Consent::allowed);
    ASSERT_THAT(told.sources, SizeIs(2));
    EXPECT_EQ(told.sources[0].source.id, kSystemSourceID);
    EXPECT_EQ(told.sources[0].source.pid, std::nullopt);
    EXPECT_EQ(told.sources[0].tapState, TapState::none);
    EXPECT_EQ(told.sources[1].source, (AppAudioSource{kPlayer, 101, "Player", kPlayer}));
    EXPECT_EQ(told.sources[1].settings.volume, 0.5);
    EXPECT_EQ(told.sources[1].settings.outputDeviceUID, "headphones");
    EXPECT_THAT(told.outputs, ElementsAre(AudioOutputRoute{"speakers", "Speakers", true},
                                          AudioOutputRoute{"headphones", "Headphones", false}));
    ASSERT_THAT(told.presets, SizeIs(7));
    EXPECT_EQ(told.presets[0], (PresetState{"flat", "Flat", true, std::vector<double>(8, 0.0)}));
    EXPECT_EQ(told.presets[6], (PresetState{"Mine", "Mine", false, kCurve}));
}

TEST_F(ControlServiceTests, ChangesWhatIsAskedAndNothingElse) {
    start();
    EXPECT_THAT(set(kPlayer, {{"bandGains", gains(kCurve)}}), IsDone());
    EXPECT_EQ(settings(), EQSettings{.bandGains = kCurve});
    EXPECT_THAT(set(kPlayer, {{"volume", 0.25}, {"isBypassed", true}}), IsDone());
    EXPECT_EQ(settings(), (EQSettings{.bandGains = kCurve, .isBypassed = true, .volume = 0.25}));
    EXPECT_THAT(set(kPlayer, {{"preset", "vocal"}, {"isBypassed", false}}), IsDone());
    EXPECT_EQ(settings(), (EQSettings{.bandGains = {-2, -1, 0, 2, 4, 4, 2, 0}, .volume = 0.25}));
    EXPECT_THAT(set(kPlayer, {{"outputDeviceUID", "headphones"}}), IsDone());
    EXPECT_EQ(settings().outputDeviceUID, "headphones");
    EXPECT_THAT(set(kPlayer, {{"outputDeviceUID", ""}, {"reset", true}}), IsDone());
    EXPECT_EQ(settings(), EQSettings{.volume = 0.25});
}

TEST_F(ControlServiceTests, AppliesAPresetOfTheUser) {
    start();
    EXPECT_THAT(call("SavePreset", {"Mine", gains(kCurve)}), IsDone());
    EXPECT_THAT(controller->userPresets().value(), ElementsAre(UserEQPreset{"Mine", kCurve}));
    EXPECT_THAT(set(kPlayer, {{"preset", "Mine"}}), IsDone());
    EXPECT_EQ(settings().bandGains, kCurve);
}

TEST_F(ControlServiceTests, ChangesAllOrNothing) {
    start();
    const RunningState before = state();
    EXPECT_THAT(set(kPlayer, {{"bandGains", gains(kCurve)}, {"volume", 1.5}}), IsRefused("InvalidValue"));
    EXPECT_THAT(set(kPlayer, {{"bandGains", gains(kCurve)}, {"outputDeviceUID", "attic"}}),
                IsRefused("UnknownOutput"));
    EXPECT_THAT(set(kPlayer, {{"volume", 0.5}, {"preset", "attic"}}), IsRefused("UnknownPreset"));
    EXPECT_THAT(set(kPlayer, {{"volume", 0.5}, {"colour", "red"}}), IsRefused("InvalidValue"));
    EXPECT_THAT(set(kPlayer, {{"volume", 0.5}, {"isBypassed", "yes"}}), IsRefused("InvalidValue"));
    EXPECT_EQ(state(), before);
    EXPECT_THAT(controller->settingsBySourceID().value(), IsEmpty());
}

TEST_F(ControlServiceTests, RefusesValuesThatMakeNoSense) {
    start();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double gain : {nan, infinity, -infinity, 12.0001, -12.0001, 1e308})
        EXPECT_THAT(set(kPlayer, {{"bandGains", gains({0, 0, 0, 0, 0, 0, 0, gain})}}),
                    IsRefused("InvalidValue"));
    for (const std::size_t count : {0U, 7U, 9U})
        EXPECT_THAT(set(kPlayer, {{"bandGains", gains(std::vector<double>(count, 1.0))}}),
                    IsRefused("InvalidValue"));
    for (const double volume : {nan, infinity, -infinity, -0.001, 1.001})
        EXPECT_THAT(set(kPlayer, {{"volume", volume}}), IsRefused("InvalidValue"));
    EXPECT_THAT(set(kPlayer, {}), IsRefused("InvalidValue"));
    EXPECT_THAT(set(kPlayer, {{"reset", false}}), IsRefused("InvalidValue"));
    EXPECT_THAT(set(kPlayer, {{"reset", true}, {"preset", "flat"}}), IsRefused("InvalidValue"));
    EXPECT_THAT(set("org.example.nobody", {{"volume", 0.5}}), IsRefused("UnknownSource"));
    for (const char* name : {"", "  ", "two\nlines", "back\u202Ewards"})
        EXPECT_THAT(call("SavePreset", {name, gains(kCurve)}), IsRefused("InvalidValue"));
    EXPECT_THAT(call("SavePreset", {QString(201, 'x'), gains(kCurve)}), IsRefused("InvalidValue"));
    EXPECT_THAT(call("SavePreset", {"Mine", gains({1, 2})}), IsRefused("InvalidValue"));
    EXPECT_THAT(controller->settingsBySourceID().value(), IsEmpty());
    EXPECT_THAT(controller->userPresets().value(), IsEmpty());
}

TEST_F(ControlServiceTests, RefusesAPresetThatTheSettingsFileHoldsUnfit) {
    writeTestFile(
        folder / "EQ by QUORVIN/settings.json",
        R"({"version":1,"sources":{},"userPresets":[{"name":"Loud","bandGains":[24,0,0,0,0,0,0,0]}]})");
    start();
    ASSERT_THAT(controller->userPresets().value(), SizeIs(1));
    EXPECT_THAT(set(kPlayer, {{"preset", "Loud"}}), IsRefused("InvalidValue"));
}

TEST_F(ControlServiceTests, SetsASourceThatHasSettingsWhileItDoesNotPlay) {
    start();
    controller->updateSettings({.volume = 0.5}, "org.example.absent");
    EXPECT_THAT(set("org.example.absent", {{"volume", 0.75}}), IsDone());
    EXPECT_EQ(settings("org.example.absent").volume, 0.75);
}

TEST_F(ControlServiceTests, TellsThatATapIsNotConnected) {
    start();
    const auto device = controller->taps().at(kPlayer)->aggregateDeviceID();
    hardware.setProperty(device, kAudioDevicePropertyDeviceIsRunning, std::uint32_t{0});
    EXPECT_TRUE(waitUntil([&] { return state().sources[1].tapState == TapState::connecting; }));
    hardware.setProperty(device, kAudioDevicePropertyDeviceIsRunning, std::uint32_t{1});
    EXPECT_TRUE(waitUntil([&] { return state().sources[1].tapState == TapState::running; }));
}

TEST_F(ControlServiceTests, SwitchesTheEqualizerOffAndOn) {
    start();
    EXPECT_THAT(call("SetProcessingEnabled", {false}), IsDone());
    EXPECT_FALSE(controller->isProcessingEnabled().value());
    EXPECT_FALSE(state().isProcessingEnabled);
    EXPECT_EQ(state().sources[1].tapState, TapState::none);
    EXPECT_THAT(call("SetProcessingEnabled", {true}), IsDone());
    EXPECT_TRUE(waitUntil([&] { return state().sources[1].tapState == TapState::running; }));
}

TEST_F(ControlServiceTests, SavesWhenAskedAndSaysWhyItCannot) {
    start();
    const auto file = folder / "EQ by QUORVIN/settings.json";
    SignalNotes notes(*client, "org.freedesktop.DBus.Properties", "PropertiesChanged");
    ASSERT_THAT(set(kPlayer, {{"volume", 0.5}}), IsDone());
    EXPECT_THAT(call("Save"), IsDone());
    EXPECT_THAT(readTestFile(file), testing::HasSubstr("\"volume\": 0.5"));
    EXPECT_EQ(state().saveProblem, "");

    std::filesystem::remove(file);
    std::filesystem::create_directories(file);
    ASSERT_THAT(set(kPlayer, {{"volume", 0.25}}), IsDone());
    const QDBusMessage refused = call("Save");
    EXPECT_THAT(refused, IsRefused("NotSaved"));
    EXPECT_EQ(settings().volume, 0.25) << "the change is in effect";
    EXPECT_EQ(state().saveProblem, refused.errorMessage().toStdString());
    const auto told = [&](const QString& problem) {
        return std::ranges::any_of(notes.signals_, [&](const QDBusMessage& signal) {
            const auto changed = qdbus_cast<QVariantMap>(signal.arguments().value(1));
            return changed.contains("SaveProblem") && changed.value("SaveProblem").toString() == problem;
        });
    };
    EXPECT_TRUE(waitUntil([&] { return told(refused.errorMessage()); }));

    std::filesystem::remove(file);
    EXPECT_THAT(call("Save"), IsDone());
    EXPECT_TRUE(waitUntil([&] { return told({}); }));
    EXPECT_THAT(readTestFile(file), testing::HasSubstr("\"volume\": 0.25"));
}

TEST_F(ControlServiceTests, TellsPresetsThatAreNotSharedFromWhatIsNotSaved) {
    start();
    cloud.failure = "the folder is away";
    ASSERT_THAT(call("SavePreset", {"Mine", gains(std::vector<double>(8, 1.0))}), IsDone());
    const QDBusMessage refused = call("Save");
    EXPECT_THAT(refused, IsRefused("NotShared"));
    EXPECT_EQ(refused.errorMessage(), "presets not shared, because the folder is away");
    EXPECT_EQ(state().saveProblem, "presets not shared, because the folder is away");
    EXPECT_THAT(readTestFile(folder / "EQ by QUORVIN/settings.json"), testing::HasSubstr("Mine"));

    cloud.failure.reset();
    ASSERT_THAT(call("SavePreset", {"Mine", gains(std::vector<double>(8, 2.0))}), IsDone());
    EXPECT_THAT(call("Save"), IsDone());
}

TEST_F(ControlServiceTests, AsksForThePermission) {
    start();
    EXPECT_THAT(call("RequestPermission"), IsDone());
    EXPECT_THAT(authorization.openRequests, SizeIs(1));
}

TEST_F(ControlServiceTests, TellsThatThereIsNoPanelOrShowsIt) {
    start();
    EXPECT_THAT(call("ShowPanel", {""}), IsRefused("NoPanel"));
}

TEST_F(ControlServiceTests, ShowsThePanelWithTheTokenOfTheCaller) {
    std::vector<std::string> tokens;
    showPanel = [&](const std::string& token) { tokens.push_back(token); };
    start();
    EXPECT_THAT(call("ShowPanel", {"token"}), IsDone());
    EXPECT_THAT(tokens, ElementsAre("token"));
}

TEST_F(ControlServiceTests, TellsChangesInOneSignalWithWhatChanged) {
    start();
    const SignalNotes notes(*client, "org.freedesktop.DBus.Properties", "PropertiesChanged");
    ASSERT_THAT(set(kPlayer, {{"volume", 0.5}, {"isBypassed", true}}), IsDone());
    ASSERT_TRUE(waitUntil([&] { return !notes.signals_.empty(); }));
    ASSERT_THAT(call("SetProcessingEnabled", {true}), IsDone()); // no change
    ASSERT_THAT(call("SavePreset", {"Mine", gains(kCurve)}), IsDone());
    ASSERT_TRUE(waitUntil([&] { return notes.signals_.size() >= 2; }));
    ASSERT_THAT(notes.signals_, SizeIs(2));
    EXPECT_EQ(notes.signals_[0].arguments().value(0), "com.quorvin.Vello1");
    const auto first = qdbus_cast<QVariantMap>(notes.signals_[0].arguments().value(1));
    EXPECT_EQ(first.keys(), QStringList{"Sources"});
    EXPECT_EQ(decodeState(first).sources[1].settings, (EQSettings{.isBypassed = true, .volume = 0.5}));
    EXPECT_EQ(qdbus_cast<QVariantMap>(notes.signals_[1].arguments().value(1)).keys(), QStringList{"Presets"});
}

TEST_F(ControlServiceTests, TellsThatAnApplicationBeganToPlay) {
    start();
    const SignalNotes notes(*client, "org.freedesktop.DBus.Properties", "PropertiesChanged");
    ASSERT_THAT(call("UnsubscribeLevels"), IsDone()); // now the bus has the match rule
    hardware.addProcess({.pid = 102});
    const auto isTold = [&](TapState tapState) {
        return std::ranges::any_of(notes.signals_, [&](const QDBusMessage& signal) {
            const auto told = decodeState(qdbus_cast<QVariantMap>(signal.arguments().value(1)));
            return std::ranges::any_of(told.sources, [&](const SourceState& source) {
                return source.source.id == "org.example.browser" && source.tapState == tapState;
            });
        });
    };
    EXPECT_TRUE(waitUntil([&] { return isTold(TapState::running); }));
}

TEST_F(ControlServiceTests, SendsLevelsToSubscribersOnlyAndOnlyWhileThereAreSome) {
    start();
    const auto other = QDBusConnection::connectToBus(QString::fromStdString(bus.address()), "other");
    const SignalNotes notes(*client, "com.quorvin.Vello1", "Levels");
    const SignalNotes others(other, "com.quorvin.Vello1", "Levels");
    setLevel(0.5F);
    EXPECT_EQ(controller->level(kPlayer), std::nullopt) << "nobody looks yet";
    ASSERT_THAT(call("SubscribeLevels"), IsDone());
    ASSERT_THAT(call("SubscribeLevels"), IsDone());
    ASSERT_TRUE(waitUntil([&] { return notes.signals_.size() >= 3; }));
    const auto readings = decodeMeters(notes.signals_.front().arguments().value(0));
    EXPECT_THAT(readings, ElementsAre(MeterReading{.id = kPlayer, .level = 0.5}));
    EXPECT_THAT(others.signals_, IsEmpty());

    ASSERT_THAT(call("UnsubscribeLevels"), IsDone());
    EXPECT_FALSE(service->hasSubscribers());
    QDBusConnection::disconnectFromBus("other");
}

TEST_F(ControlServiceTests, KeepsACappedRate) {
    start();
    const SignalNotes notes(*client, "com.quorvin.Vello1", "Levels");
    QElapsedTimer elapsed;
    elapsed.start();
    ASSERT_THAT(call("SubscribeLevels"), IsDone());
    ASSERT_TRUE(waitUntil([&] { return notes.signals_.size() >= 10; }));
    EXPECT_GE(elapsed.elapsed(), 10 * LevelSubscriptions::period.count());
}

TEST_F(ControlServiceTests, ForgetsASubscriberThatVanishes) {
    start();
    const SignalNotes notes(*client, "com.quorvin.Vello1", "Levels");
    ASSERT_THAT(call("SubscribeLevels"), IsDone());
    ASSERT_TRUE(waitUntil([&] { return !notes.signals_.empty(); }));
    QDBusConnection::disconnectFromBus("test");
    client.reset();
    EXPECT_TRUE(waitUntil([&] { return !service->hasSubscribers(); }));
}

TEST_F(ControlServiceTests, ForgetsASubscriberThatVanishedBeforeItWasWatched) {
    start();
    for (int i = 0; i < 20; ++i) {
        auto fleeting = QDBusConnection::connectToBus(QString::fromStdString(bus.address()), "fleeting");
        fleeting.send(QDBusMessage::createMethodCall("com.quorvin.Vello", "/com/quorvin/Vello",
                                                     "com.quorvin.Vello1", "SubscribeLevels"));
        QDBusConnection::disconnectFromBus("fleeting");
    }
    ASSERT_THAT(call("SetProcessingEnabled", {true}), IsDone()); // queued behind them
    EXPECT_TRUE(waitUntil([&] { return !service->hasSubscribers(); }));
}

/// Names, types and directions of everything in the interface.
std::vector<std::string> members(const QString& xml) {
    std::vector<std::string> all;
    QXmlStreamReader reader(xml);
    bool isInside = false;
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        const auto attribute = [&reader](const char* name) {
            return " " + reader.attributes().value(QLatin1String(name)).toString();
        };
        if (reader.name() == u"interface")
            isInside = attribute("name") == " com.quorvin.Vello1";
        else if (isInside && reader.name() == u"arg")
            all.back() += (attribute("type") + attribute("direction")).toStdString();
        else if (isInside && reader.name() != u"annotation")
            all.push_back(
                (reader.name().toString() + attribute("name") + attribute("type") + attribute("access"))
                    .toStdString());
    }
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    std::ranges::sort(all);
    return all;
}

TEST_F(ControlServiceTests, IsWhatTheInstalledInterfaceSays) {
    start();
    std::ifstream file(VELLO_INTERFACE_FILE);
    const std::string installed{std::istreambuf_iterator<char>(file), {}};
    const QDBusMessage reply = ask("org.freedesktop.DBus.Introspectable", "Introspect", {});
    EXPECT_THAT(members(QString::fromStdString(installed)), SizeIs(27));
    EXPECT_EQ(members(reply.arguments().value(0).toString()), members(QString::fromStdString(installed)));
}

TEST_F(ControlServiceTests, KeepsNothingThatTheBusLibraryLetsOthersWrite) {
    start();
    const QVariant name = QVariant::fromValue(QDBusVariant(QString(1000000, 'x')));
    const QString interface = "com.quorvin.Vello1";
    ask("org.freedesktop.DBus.Properties", "Set", {interface, "objectName", name});
    const QDBusMessage reply = ask("org.freedesktop.DBus.Properties", "Get", {interface, "objectName"});
    EXPECT_EQ(qvariant_cast<QDBusVariant>(reply.arguments().value(0)).variant(), QString());
}

TEST_F(ControlServiceTests, SaysHowItIsForAReport) {
    readHealth = [] { return InstanceHealth{.missedCycles = 7, .errors = {"no space"}}; };
    start();
    const QDBusMessage reply = ask("com.quorvin.Vello1", "Diagnose", {});
    const InstanceHealth health = decodeHealth(reply.arguments().value(0));
    EXPECT_EQ(health, (InstanceHealth{.missedCycles = 7, .errors = {"no space"}}));
    EXPECT_EQ(decodeHealth({}), InstanceHealth());
}

TEST_F(ControlServiceTests, IsThereOnce) {
    start();
    const BusPresence second(mainThread, log);
    EXPECT_TRUE(second.isTaken());
    EXPECT_FALSE(BusPresence(mainThread, log).publish(*service));
}

TEST_F(ControlServiceTests, TakesItsPlaceAgainWhenTheBusIsBack) {
    start();
    ASSERT_THAT(call("SubscribeLevels"), IsDone());
    QDBusConnection::disconnectFromBus("test");
    bus.stop();
    ASSERT_TRUE(waitUntil([&] { return !log.messagesStartingWith("The session bus is gone").empty(); }));
    EXPECT_FALSE(service->hasSubscribers());
    EXPECT_EQ(controller->taps().size(), 1U) << "goes on equalizing";
    bus.start();
    ASSERT_TRUE(waitUntil([&] { return !log.messagesStartingWith("VELLO is on the session bus").empty(); }));
    connectClient();
    EXPECT_THAT(set(kPlayer, {{"volume", 0.5}}), IsDone());
    EXPECT_EQ(settings().volume, 0.5);
}

TEST_F(ControlServiceTests, DoesWithoutABus) {
    bus.stop();
    qputenv("DBUS_SESSION_BUS_ADDRESS", "");
    qputenv("XDG_RUNTIME_DIR", QByteArray::fromStdString(folder.path().string() + "/nowhere"));
    BusPresence alone(mainThread, log);
    EXPECT_THAT(log.messagesStartingWith("There is no session bus"), SizeIs(1));
    EXPECT_FALSE(alone.isTaken());
}

} // namespace
} // namespace vello

#include "ControlServiceTest.moc"
