// SPDX-License-Identifier: Apache-2.0
// Exempt streams, applications held ready, and the names of outputs.
#include "AudioControllerFixture.h"

#include "Foundation/Product.h"

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

struct ControllerStreams : Controller {
    bool isDownmixed(AudioObjectID process) {
        std::uint32_t value = 0;
        std::uint32_t size = sizeof value;
        hardware.getPropertyData(
            process,
            {kAudioProcessPropertyDownmix, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain},
            size, &value);
        return value == 1;
    }
};

TEST_F(ControllerStreams, TellsTheExemptStreamsOfTheMoment) {
    start();
    EXPECT_THAT(controller->exemptStreams(), IsEmpty());
    const auto stream = hardware.addExemptStream(
        {.name = "Film", .exemption = StreamExemption::surround, .process = {.pid = 101}});
    ASSERT_THAT(controller->exemptStreams(), SizeIs(1));
    EXPECT_EQ(controller->exemptStreams().front().sourceID, "player");
    EXPECT_THAT(controller->sources().value(), SizeIs(1));
    hardware.removeObject(stream);
    EXPECT_THAT(controller->exemptStreams(), IsEmpty());
}

TEST_F(ControllerStreams, TellsWhatIsHeldReadyInTheOrderOfNames) {
    applications.applications[102].localizedName = "Web browser";
    start();
    controller->updateSettings({.volume = 0.5}, std::string(kSystemSourceID));
    const auto player = play(101);
    const auto browser = play(102);
    EXPECT_THAT(controller->readyApplications(), IsEmpty());
    stop(browser);
    stop(player);
    EXPECT_THAT(controller->readyApplications(),
                ElementsAre(ReadyApplication{"player", "Player", "speakers"},
                            ReadyApplication{"browser", "Web browser", "speakers"}));
    play(101);
    EXPECT_THAT(controller->readyApplications(),
                ElementsAre(ReadyApplication{"browser", "Web browser", "speakers"}));
    controller->setProcessingEnabled(false);
    EXPECT_THAT(controller->readyApplications(), IsEmpty());
}

TEST_F(ControllerStreams, DownmixesASourceThatWantsIt) {
    const auto player = hardware.addProcess({.pid = 101});
    const auto browser = hardware.addProcess({.pid = 102});
    start();
    const auto tapBefore = tap("player");
    controller->updateSettings({.downmixesSurround = true}, "player");
    EXPECT_TRUE(isDownmixed(player));
    EXPECT_FALSE(isDownmixed(browser));
    EXPECT_EQ(tap("player"), tapBefore) << "the tap goes on";
    controller->updateSettings({}, "player");
    EXPECT_FALSE(isDownmixed(player));
}

TEST_F(ControllerStreams, DownmixesFromTheStartWhatIsStoredSo) {
    StoredSettings settings;
    settings.sources["player"].downmixesSurround = true;
    SettingsStore(folder.path(), mainThread, log).flush(settings);
    const auto player = hardware.addProcess({.pid = 101, .isRunningOutput = false});
    start();
    EXPECT_TRUE(isDownmixed(player));
    EXPECT_THAT(controller->sources().value(), SizeIs(1));
}

TEST_F(ControllerStreams, ADownmixedSourceFollowsTheSystemWideCurve) {
    hardware.addProcess({.pid = 101});
    start();
    controller->updateSettings({.volume = 0.5}, std::string(kSystemSourceID));
    controller->updateSettings({.downmixesSurround = true}, "player");
    EXPECT_EQ(tap("player")->settings(), (EQSettings{.volume = 0.5, .downmixesSurround = true}));
}

TEST_F(ControllerStreams, ASourceWithoutAProcessHasNone) {
    hardware.addProcess({.pid = 0, .bundleID = "org.example.sandboxed"});
    start();
    ASSERT_THAT(controller->sources().value(), SizeIs(2));
    EXPECT_EQ(controller->sources().value()[1],
              (AppAudioSource{"org.example.sandboxed", std::nullopt, "sandboxed", "org.example.sandboxed"}));
}

TEST_F(ControllerStreams, AnOutputThatIsRenamedHasItsNewName) {
    start();
    const auto headset = hardware.addDevice({.uid = "headset", .name = "Headset"});
    mainThread.runPosted();
    ASSERT_EQ(controller->outputRouteName("headset"), "Headset");
    hardware.setString(headset, kAudioObjectPropertyName, "My headphones");
    mainThread.runPosted();
    EXPECT_EQ(controller->outputRouteName("headset"), "My headphones");
}

TEST_F(ControllerStreams, NamesAreListenedToWhileTheDeviceIsThereAndOnce) {
    const auto headset = hardware.addDevice({.uid = "headset", .name = "Headset"});
    const auto own = hardware.addDevice({.uid = "own", .name = std::string(kTapNamePrefix) + "Player"});
    start();
    hardware.addDevice({.uid = "usb", .name = "USB"});
    mainThread.runPosted();
    EXPECT_EQ(hardware.listenerCount(headset, kAudioObjectPropertyName), 1U);
    EXPECT_EQ(hardware.listenerCount(own, kAudioObjectPropertyName), 0U);
    hardware.removeObject(headset);
    mainThread.runPosted();
    EXPECT_EQ(hardware.listenerCount(headset, kAudioObjectPropertyName), 0U);
}

TEST_F(ControllerStreams, NamesAreNotListenedToAfterTheEnd) {
    const auto headset = hardware.addDevice({.uid = "headset", .name = "Headset"});
    start();
    events.fireWillTerminate();
    EXPECT_EQ(hardware.listenerCount(headset, kAudioObjectPropertyName), 0U);
}

} // namespace
} // namespace vello
