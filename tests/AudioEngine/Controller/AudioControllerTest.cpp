// SPDX-License-Identifier: Apache-2.0
#include "AudioControllerFixture.h"

#include <functional>

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::SizeIs;

const AppAudioSource kSystem{"eq-by-quorvin.system.master", std::nullopt, "System", std::nullopt};
const AppAudioSource kPlayer{"player", 101, "Player", "player"};
const AppAudioSource kBrowser{"browser", 102, "Browser", "browser"};

// Sources

TEST_F(Controller, TheSystemWideSourceIsAlwaysThere) {
    start();
    EXPECT_THAT(controller->sources().value(), ElementsAre(kSystem));
}

TEST_F(Controller, EveryApplicationThatPlaysIsASourceBehindTheSystemWideOneInTheMonitorsOrder) {
    startWithBoth();
    EXPECT_THAT(controller->sources().value(), ElementsAre(kSystem, kBrowser, kPlayer));
}

TEST_F(Controller, SourcesComeAndGoWithTheirApplications) {
    start();
    std::vector<std::size_t> told;
    const auto observation = controller->sources().observe([&](const auto& s) { told.push_back(s.size()); });
    const AudioObjectID player = play(101);
    EXPECT_THAT(controller->sources().value(), ElementsAre(kSystem, kPlayer));
    stop(player);
    EXPECT_THAT(controller->sources().value(), ElementsAre(kSystem));
    mainThread.advance(10s);
    EXPECT_THAT(told, ElementsAre(2, 1));
}

TEST_F(Controller, SettingsAndTheActiveSourceOutlastTheirApplication) {
    start();
    const AudioObjectID player = play(101);
    controller->updateSettings({.volume = 0.5}, "player");
    controller->setActiveSource("player");
    stop(player);
    EXPECT_EQ(controller->settings("player").volume, 0.5);
    EXPECT_EQ(controller->activeSourceID().value(), "player");
}

// When taps exist

TEST_F(Controller, TapsExistExactlyWhileProcessingIsOnAndTheCaptureAllowed) {
    startWithBoth();
    for (const bool isOn : {true, false})
        for (const auto answer : {Consent::allowed, Consent::denied, Consent::undecided}) {
            controller->setProcessingEnabled(isOn);
            authorization.change(answer);
            const bool shouldExist = isOn && answer == Consent::allowed;
            EXPECT_THAT(controller->taps(), SizeIs(shouldExist ? 2 : 0))
                << isOn << " " << static_cast<int>(answer);
        }
}

TEST_F(Controller, WithoutConsentNothingOfTheAudioSystemIsChanged) {
    for (const Consent answer : {Consent::denied, Consent::undecided}) {
        authorization.answer = answer;
        startWithBoth();
        mainThread.advance(10s);
        controller->updateSettings({.volume = 0.5}, "player");
        controller->setProcessingEnabled(false);
        controller->setProcessingEnabled(true);
        EXPECT_THAT(hardware.actions(), IsEmpty());
        controller.reset();
    }
}

TEST_F(Controller, ConsentThatComesLaterBeginsTheCaptureByItself) {
    authorization.answer = Consent::undecided;
    startWithBoth();
    controller->capturePermission().request();
    authorization.openRequests.at(0)(true);
    mainThread.runPosted();
    EXPECT_THAT(controller->taps(), SizeIs(2));
    EXPECT_THAT(hardware.liveTaps(), SizeIs(2));
}

TEST_F(Controller, AStatusThatIsReportedAgainChangesNothing) {
    startWithBoth();
    const auto before = tap("player");
    hardware.clearCalls();
    controller->permissionStatusChanged();
    EXPECT_EQ(tap("player"), before);
    EXPECT_THAT(hardware.actions(), IsEmpty());
}

TEST_F(Controller, TheMasterSwitchIsOnAtFirst) {
    start();
    EXPECT_TRUE(controller->isProcessingEnabled().value());
}

TEST_F(Controller, SettingTheMasterSwitchToItsValueDoesNotTouchTheTaps) {
    hardware.fail({.call = HardwareCall::createProcessTap, .times = 1});
    hardware.addProcess({.pid = 101});
    start();
    int told = 0;
    const auto observation = controller->isProcessingEnabled().observe([&](bool) { ++told; });
    ASSERT_THAT(controller->taps(), IsEmpty());
    controller->setProcessingEnabled(true);
    EXPECT_THAT(controller->taps(), IsEmpty()) << "reconciling would have tried the failed tap again";
    EXPECT_EQ(told, 0);
}

// Settings

TEST_F(Controller, ASourceWithoutSettingsHasNeutralOnes) {
    start();
    EXPECT_EQ(controller->settings("nobody"), EQSettings{});
    EXPECT_THAT(controller->settingsBySourceID().value(), IsEmpty());
}

TEST_F(Controller, ChangedSettingsAreInForceAtOnceAndSavedHalfASecondLater) {
    startWithBoth();
    controller->updateSettings({.volume = 0.25}, "player");
    EXPECT_EQ(tap("player")->settings().volume, 0.25);
    EXPECT_EQ(controller->settings("player").volume, 0.25);
    mainThread.advance(499ms);
    EXPECT_FALSE(std::filesystem::exists(settingsFile));
    mainThread.advance(1ms);
    EXPECT_EQ(stored().sources.at("player").volume, 0.25);
}

TEST_F(Controller, SystemWideSettingsReachEveryApplicationWithoutItsOwn) {
    startWithBoth();
    controller->updateSettings({.volume = 0.25}, "player");
    controller->updateSettings({.volume = 0.5}, std::string(kSystemSourceID));
    EXPECT_EQ(tap("player")->settings().volume, 0.25);
    EXPECT_EQ(tap("browser")->settings().volume, 0.5);
}

TEST_F(Controller, ASourceIDMayBeOneOfTheControllersOwn) {
    startWithBoth();
    controller->updateSettings({.volume = 0.5}, "player");
    const auto& [id, settings] = *controller->settingsBySourceID().value().begin();
    controller->updateSettings(settings, id);
    EXPECT_THAT(controller->settingsBySourceID().value(), ElementsAre(Key("player")));
}

TEST_F(Controller, EveryChangeOfSettingsIsPublishedOnce) {
    start();
    int told = 0;
    const auto observation = controller->settingsBySourceID().observe([&](const auto&) { ++told; });
    controller->updateSettings({.volume = 0.5}, "player");
    controller->updateSettings({.volume = 0.5}, "player");
    EXPECT_EQ(told, 1);
}

TEST_F(Controller, ASourceThatIsOnlyAProcessNumberKeepsItsSettingsButIsNeverSaved) {
    start();
    const AudioObjectID process = play(4242);
    ASSERT_EQ(controller->sources().value().back().id, "pid.4242");
    controller->updateSettings({.volume = 0.5}, "pid.4242");
    controller->updateSettings({.volume = 0.5}, "player");
    stop(process);
    EXPECT_EQ(controller->settings("pid.4242").volume, 0.5);
    mainThread.advance(1s);
    EXPECT_THAT(stored().sources, ElementsAre(Key("player")));
}

TEST_F(Controller, StoredSettingsAreInForceFromTheStart) {
    writeTestFile(settingsFile, R"({"version":1,"sources":{"player":{"volume":0.5}}})");
    startWithBoth();
    EXPECT_EQ(tap("player")->settings().volume, 0.5);
    EXPECT_EQ(controller->settings("player").volume, 0.5);
    mainThread.advance(1h);
    EXPECT_EQ(readTestFile(settingsFile), R"({"version":1,"sources":{"player":{"volume":0.5}}})")
        << "starting saves nothing";
}

TEST_F(Controller, SettingsThatCannotBeSavedAreSaidInTheLogAndLeaveTheFile) {
    start();
    controller->updateSettings({.volume = 0.5}, "player");
    mainThread.advance(1s);
    const std::string before = readTestFile(settingsFile);
    controller->updateSettings({.volume = std::numeric_limits<double>::infinity()}, "player");
    mainThread.advance(1s);
    EXPECT_THAT(log.messagesStartingWith("Failed to save settings: "), SizeIs(1));
    EXPECT_EQ(readTestFile(settingsFile), before);
}

TEST_F(Controller, ASaveProblemIsPublishedUntilTheSaveHasWorked) {
    start();
    writeTestFile(folder / "EQ by QUORVIN", "a file is in the way");
    std::vector<bool> seen;
    const auto observation =
        controller->saveProblem().observe([&](const auto& problem) { seen.push_back(problem.has_value()); });
    controller->updateSettings({.volume = 0.5}, "player");
    mainThread.advance(600ms);
    EXPECT_THAT(seen, ElementsAre(true));
    EXPECT_EQ(controller->save(), controller->saveProblem().value());
    std::filesystem::remove(folder / "EQ by QUORVIN");
    mainThread.advance(4s);
    EXPECT_THAT(seen, ElementsAre(true, false));
    EXPECT_EQ(stored().sources.at("player").volume, 0.5);
}

TEST_F(Controller, ASaveOnRequestDoesNotWaitHalfASecond) {
    start();
    controller->updateSettings({.volume = 0.5}, "player");
    EXPECT_EQ(controller->save(), std::nullopt);
    EXPECT_EQ(stored().sources.at("player").volume, 0.5);
}

TEST_F(Controller, AnObserverMayChangeWhatItIsToldOf) {
    startWithBoth();
    const auto observation =
        controller->settingsBySourceID().observe([&](const SettingsBySourceID& settings) {
            if (settings.at("player").volume > 1)
                controller->updateSettings({.volume = 1}, "player");
        });
    controller->updateSettings({.volume = 3}, "player");
    EXPECT_EQ(controller->settings("player").volume, 1);
    EXPECT_EQ(tap("player")->settings().volume, 1);
}

// The active source

TEST_F(Controller, TheActiveSourceIsPublishedWhenItChanges) {
    start();
    std::vector<std::optional<std::string>> told;
    const auto observation =
        controller->activeSourceID().observe([&](const auto& id) { told.push_back(id); });
    controller->setActiveSource(std::nullopt);
    controller->setActiveSource("player");
    controller->setActiveSource("player");
    controller->setActiveSource(std::nullopt);
    EXPECT_THAT(told, ElementsAre(std::optional<std::string>("player"), std::nullopt));
}

TEST_F(Controller, TheFocusFollowsTheActiveSource) {
    hardware.fail({.call = HardwareCall::createProcessTap, .times = 1});
    hardware.addProcess({.pid = 101});
    start();
    ASSERT_THAT(controller->taps(), IsEmpty());
    controller->setActiveSource("player");
    EXPECT_THAT(controller->taps(), SizeIs(1)) << "a change of focus reconciles, which tries again";
}

// Output routes

TEST_F(Controller, TheOutputsAreListedFromTheStartAndFollowTheDevices) {
    start();
    const AudioOutputRoute speakers{"speakers", "Speakers", true};
    EXPECT_THAT(controller->outputRoutes().value(), ElementsAre(speakers));
    const AudioObjectID headset = hardware.addDevice({.uid = "headset", .name = "Headset"});
    mainThread.runPosted();
    EXPECT_THAT(controller->outputRoutes().value(),
                ElementsAre(speakers, AudioOutputRoute{"headset", "Headset", false}));
    hardware.setDefaultOutputDevice(headset);
    mainThread.runPosted();
    EXPECT_THAT(controller->outputRoutes().value(),
                ElementsAre(AudioOutputRoute{"headset", "Headset", true},
                            AudioOutputRoute{"speakers", "Speakers", false}));
}

TEST_F(Controller, AnOutputHasItsNameOrSaysThatItIsAutomaticOrUnavailable) {
    start();
    EXPECT_EQ(controller->outputRouteName(std::nullopt), "Automatic");
    EXPECT_EQ(controller->outputRouteName("speakers"), "Speakers");
    EXPECT_EQ(controller->outputRouteName("gone"), "Unavailable Output");
    EXPECT_EQ(controller->outputRouteName(""), "Unavailable Output");
}

// Shutdown

TEST_F(Controller, TheEndTakesEveryTapDownAndSavesAtOnce) {
    startWithBoth();
    controller->updateSettings({.volume = 0.5}, "player");
    controller->updateSettings({.volume = 0.5}, "pid.7");
    events.fireWillTerminate();
    EXPECT_THAT(hardware.liveTaps(), IsEmpty());
    EXPECT_THAT(hardware.liveAggregates(), IsEmpty());
    EXPECT_THAT(stored().sources, ElementsAre(Key("player")));
}

TEST_F(Controller, TheEndSavesBeforeItWaitsForTheAudioSystem) {
    startWithBoth();
    controller->updateSettings({.volume = 0.5}, "player");
    bool isPrepared = false;
    bool wasSavedBefore = false;
    hardware.setOnCall([&](const FakeAudioHardware::Call& call) {
        if (call.call == HardwareCall::prepareToTerminate) {
            wasSavedBefore = stored().sources.contains("player");
            isPrepared = true;
        }
        EXPECT_TRUE(isPrepared || call.call != HardwareCall::stopDevice);
    });
    events.fireWillTerminate();
    hardware.setOnCall(nullptr);
    EXPECT_TRUE(isPrepared);
    EXPECT_TRUE(wasSavedBefore);
}

TEST_F(Controller, ASpareDeviceIsWantedWhileAnySettingsAreInForce) {
    const auto isWanted = [this] {
        return hardware.listenerCount(kAudioObjectSystemObject, kAudioHardwarePropertySpareDevice) == 1;
    };
    start();
    EXPECT_FALSE(isWanted());
    controller->updateSettings({.volume = 0.5}, "player");
    EXPECT_TRUE(isWanted());
    controller->setProcessingEnabled(false);
    EXPECT_FALSE(isWanted());
    controller->setProcessingEnabled(true);
    EXPECT_TRUE(isWanted());
    controller->updateSettings({}, "player");
    EXPECT_FALSE(isWanted());
    controller->updateSettings({.volume = 0.5}, std::string(kSystemSourceID));
    controller->save();
    controller.reset();
    EXPECT_FALSE(isWanted());
    start();
    EXPECT_TRUE(isWanted()) << "stored settings count";
    events.fireWillTerminate();
    EXPECT_FALSE(isWanted());
}

TEST_F(Controller, TheEndStopsListeningForOutputs) {
    start();
    events.fireWillTerminate();
    const auto before = controller->outputRoutes().value();
    hardware.addDevice({.uid = "headset", .name = "Headset"});
    mainThread.advance(1s);
    EXPECT_EQ(controller->outputRoutes().value(), before);
    EXPECT_EQ(hardware.listenerCount(kAudioObjectSystemObject, kAudioHardwarePropertyDevices), 0U);
}

TEST_F(Controller, NothingOnTheWayOutBringsATapBack) {
    startWithBoth();
    events.fireWillTerminate();
    authorization.change(Consent::denied);
    authorization.change(Consent::allowed);
    controller->setProcessingEnabled(false);
    controller->setProcessingEnabled(true);
    controller->updateSettings({.volume = 0.5}, "player");
    play(4242);
    mainThread.advance(10s);
    EXPECT_THAT(controller->taps(), IsEmpty());
    EXPECT_THAT(hardware.liveTaps(), IsEmpty());
}

TEST_F(Controller, ADestroyedControllerLeavesNobodyListening) {
    startWithBoth();
    controller->startMeterUpdates();
    controller->updateSettings({.volume = 0.5}, "player");
    controller.reset();
    EXPECT_THAT(hardware.liveTaps(), IsEmpty());
    EXPECT_FALSE(cloud.isObserved());
    EXPECT_EQ(mainThread.pendingTaskCount(), 0U);
    hardware.addDevice({.uid = "headset", .name = "Headset"});
    authorization.change(Consent::denied);
    events.fireDidBecomeActive();
    events.fireWillTerminate();
    mainThread.advance(10s);
    EXPECT_EQ(hardware.listenerCount(kAudioObjectSystemObject, kAudioHardwarePropertyDevices), 0U);
}

} // namespace
} // namespace vello
