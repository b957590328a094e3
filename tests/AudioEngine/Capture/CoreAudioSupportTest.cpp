// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/CoreAudioSupport.h"
#include "AudioEngine/Capture/CoreAudioPropertyObserver.h"

#include "support/FakeAudioHardware.h"
#include "support/RecordingSystemLog.h"
#include "support/VirtualMainThread.h"

#include <gmock/gmock.h>

namespace vello {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<AudioObjectID> readDeviceList(const AudioHardware& hardware) {
    return readObjectIDList(hardware, kAudioObjectSystemObject, kAudioHardwarePropertyDevices,
                            kAudioObjectPropertyScopeGlobal);
}

template <class Read> std::string failureOf(Read read) {
    try {
        read();
    } catch (const CoreAudioError& error) {
        return error.description();
    }
    return "no failure";
}

struct CoreAudioSupport : testing::Test {
    VirtualMainThread mainThread;
    RecordingSystemLog log;
    FakeAudioHardware hardware{mainThread};
};

TEST(CoreAudioError, AStatusNamesItsOperationAndItsNumber) {
    const auto error = CoreAudioError::status(-50, "Reading property data");
    EXPECT_EQ(error.description(), "Reading property data failed (OSStatus -50)");
    EXPECT_STREQ(error.what(), "Reading property data failed (OSStatus -50)");
    EXPECT_EQ(std::get<CoreAudioError::Status>(error.value()),
              (CoreAudioError::Status{-50, "Reading property data"}));
}

TEST(CoreAudioError, AnInvalidObjectIsItsTextAlone) {
    const auto error = CoreAudioError::invalidObject("No such thing");
    EXPECT_EQ(error.description(), "No such thing");
    EXPECT_EQ(std::get<CoreAudioError::InvalidObject>(error.value()).text, "No such thing");
}

TEST_F(CoreAudioSupport, ReadsAListInItsOrder) {
    const auto first = hardware.addDevice({.uid = "a", .name = "A"});
    const auto second = hardware.addDevice({.uid = "b", .name = "B"});
    EXPECT_THAT(readDeviceList(hardware), ElementsAre(first, second));
}

TEST_F(CoreAudioSupport, LessThanOneObjectIsAnEmptyListThatIsNotRead) {
    hardware.setPropertyBytes(kAudioObjectSystemObject, kAudioHardwarePropertyDevices,
                              kAudioObjectPropertyScopeGlobal, {1, 2, 3});
    hardware.clearCalls();
    EXPECT_THAT(readDeviceList(hardware), IsEmpty());
    ASSERT_EQ(hardware.calls().size(), 1U);
    EXPECT_EQ(hardware.calls()[0].call, HardwareCall::getPropertyDataSize);
}

TEST_F(CoreAudioSupport, AListOfOddSizeKeepsTheWholeObjects) {
    hardware.setPropertyBytes(kAudioObjectSystemObject, kAudioHardwarePropertyDevices,
                              kAudioObjectPropertyScopeGlobal, {7, 0, 0, 0, 9, 9});
    EXPECT_THAT(readDeviceList(hardware), ElementsAre(7U));
}

TEST_F(CoreAudioSupport, AFailedReadNamesTheStepThatFailed) {
    const auto device = hardware.addDevice({.uid = "a", .name = "A"});
    const auto readName = [&] { readString(hardware, device, kAudioObjectPropertyName); };
    const auto readList = [&] { readDeviceList(hardware); };
    const auto readStreams = [&] { readOutputChannelCount(hardware, device); };

    hardware.fail({.call = HardwareCall::getPropertyDataSize, .status = -1});
    EXPECT_EQ(failureOf(readName), "Reading data size for property failed (OSStatus -1)");
    EXPECT_EQ(failureOf(readList), "Reading object list size failed (OSStatus -1)");
    EXPECT_EQ(failureOf(readStreams), "Reading output stream configuration size failed (OSStatus -1)");
    EXPECT_EQ(failureOf([&] { readNominalSampleRate(hardware, device); }),
              "Reading data size for property failed (OSStatus -1)");

    hardware.stopFailing();
    hardware.fail({.call = HardwareCall::getPropertyData, .status = -2});
    EXPECT_EQ(failureOf(readName), "Reading property data failed (OSStatus -2)");
    EXPECT_EQ(failureOf(readList), "Reading object list failed (OSStatus -2)");
    EXPECT_EQ(failureOf(readStreams), "Reading output stream configuration failed (OSStatus -2)");
    EXPECT_EQ(failureOf([&] { readDefaultOutputDevice(hardware); }),
              "Reading property data failed (OSStatus -2)");
}

TEST_F(CoreAudioSupport, ReadsTheFixedSizeProperties) {
    const auto device = hardware.addDevice(
        {.uid = "a", .name = "A", .sampleRate = 44100, .transportType = kAudioDeviceTransportTypeBluetooth});
    hardware.setDefaultOutputDevice(device);
    EXPECT_EQ(readNominalSampleRate(hardware, device), 44100);
    EXPECT_EQ(readTransportType(hardware, device), kAudioDeviceTransportTypeBluetooth);
    EXPECT_EQ(readDefaultOutputDevice(hardware), device);

    AudioObjectID tap = 0;
    hardware.createProcessTap({}, tap);
    EXPECT_EQ(readTapStreamBasicDescription(hardware, tap).mChannelsPerFrame, 2U);
}

TEST_F(CoreAudioSupport, TooFewBytesForAFixedSizeAreAFailedRead) {
    const auto device = hardware.addDevice({.uid = "a", .name = "A"});
    hardware.setPropertyBytes(device, kAudioDevicePropertyNominalSampleRate, kAudioObjectPropertyScopeGlobal,
                              {1, 2, 3, 4});
    EXPECT_THROW(readNominalSampleRate(hardware, device), CoreAudioError);
}

TEST_F(CoreAudioSupport, AReadOfADeadObjectFails) {
    const auto device = hardware.addDevice({.uid = "a", .name = "A"});
    hardware.removeObject(device);
    EXPECT_THROW(readString(hardware, device, kAudioObjectPropertyName), CoreAudioError);
}

TEST_F(CoreAudioSupport, StringsKeepEveryByte) {
    const auto device = hardware.addDevice({.uid = "a", .name = std::string("x\0\n\xff", 4)});
    EXPECT_EQ(readString(hardware, device, kAudioObjectPropertyName), std::string("x\0\n\xff", 4));
    hardware.setString(device, kAudioObjectPropertyName, "");
    EXPECT_EQ(readString(hardware, device, kAudioObjectPropertyName), "");
}

TEST_F(CoreAudioSupport, SumsTheChannelsOfAllStreams) {
    const auto device = hardware.addDevice({.uid = "a", .name = "A", .streamChannels = {2, 6, 1}});
    EXPECT_EQ(readOutputChannelCount(hardware, device), 9);
}

TEST_F(CoreAudioSupport, AStreamConfigurationWithoutABufferMeansNoOutput) {
    const auto device = hardware.addDevice({.uid = "a", .name = "A", .streamChannels = {}});
    hardware.setDefaultOutputDevice(device);
    EXPECT_EQ(readOutputChannelCount(hardware, device), 0);
    EXPECT_THAT(readOutputRoutes(hardware), IsEmpty());
    EXPECT_EQ(failureOf([&] { readOutputDevice(hardware, "a"); }), "No output device for UID a");
}

TEST_F(CoreAudioSupport, AStreamConfigurationThatLiesAboutItsLengthIsReadAsFarAsItGoes) {
    const auto device = hardware.addDevice({.uid = "a", .name = "A", .streamChannels = {2}});
    std::vector<unsigned char> bytes(24);
    bytes[0] = 200; // number of buffers according to the header
    bytes[8] = 2;   // channels of the only buffer
    hardware.setPropertyBytes(device, kAudioDevicePropertyStreamConfiguration,
                              kAudioObjectPropertyScopeOutput, bytes);
    EXPECT_EQ(readOutputChannelCount(hardware, device), 2);
}

TEST_F(CoreAudioSupport, FindsTheFirstOutputDeviceOfAUID) {
    hardware.addDevice({.uid = "same", .name = "Input only", .streamChannels = {}});
    const auto first = hardware.addDevice({.uid = "same", .name = "First"});
    hardware.addDevice({.uid = "same", .name = "Second"});
    const auto unreadable = hardware.addDevice({.uid = "other", .name = "Unreadable"});
    hardware.removeProperty(unreadable, kAudioDevicePropertyDeviceUID);
    EXPECT_EQ(readOutputDevice(hardware, "same"), first);
    EXPECT_EQ(failureOf([&] { readOutputDevice(hardware, "SAME"); }), "No output device for UID SAME");
    EXPECT_EQ(failureOf([&] { readOutputDevice(hardware, "other"); }), "No output device for UID other");
}

TEST_F(CoreAudioSupport, RoutesAreTheDefaultFirstAndThenByName) {
    hardware.addDevice({.uid = "c", .name = "Output 10"});
    hardware.addDevice({.uid = "b", .name = "output 2"});
    hardware.addDevice({.uid = "a", .name = "Amplifier"});
    hardware.setDefaultOutputDevice(hardware.addDevice({.uid = "z", .name = "Zither"}));
    EXPECT_THAT(readOutputRoutes(hardware),
                ElementsAre(AudioOutputRoute{"z", "Zither", true}, AudioOutputRoute{"a", "Amplifier", false},
                            AudioOutputRoute{"b", "output 2", false},
                            AudioOutputRoute{"c", "Output 10", false}));
}

TEST_F(CoreAudioSupport, RoutesOfEqualNamesKeepTheOrderOfTheList) {
    hardware.addDevice({.uid = "2", .name = "Speaker"});
    hardware.addDevice({.uid = "1", .name = "SPEAKER"});
    EXPECT_THAT(readOutputRoutes(hardware), ElementsAre(AudioOutputRoute{"2", "Speaker", false},
                                                        AudioOutputRoute{"1", "SPEAKER", false}));
}

TEST_F(CoreAudioSupport, TwoDevicesOfOneUIDAreOneRoute) {
    hardware.addDevice({.uid = "same", .name = "First"});
    hardware.addDevice({.uid = "same", .name = "Second"});
    EXPECT_THAT(readOutputRoutes(hardware), ElementsAre(AudioOutputRoute{"same", "First", false}));
}

TEST_F(CoreAudioSupport, LeavesOutOfTheRoutesWhatCannotBeUsed) {
    hardware.addDevice({.uid = "own", .name = "EQ-by-QUORVIN-Tap-Player"});
    hardware.addDevice({.uid = "", .name = "No UID"});
    hardware.removeProperty(hardware.addDevice({.uid = "n", .name = "N"}), kAudioObjectPropertyName);
    hardware.removeProperty(hardware.addDevice({.uid = "u", .name = "U"}), kAudioDevicePropertyDeviceUID);
    hardware.removeProperty(hardware.addDevice({.uid = "s", .name = "S"}),
                            kAudioDevicePropertyStreamConfiguration, kAudioObjectPropertyScopeOutput);
    hardware.addDevice({.uid = "good", .name = "Good"});
    EXPECT_THAT(readOutputRoutes(hardware), ElementsAre(AudioOutputRoute{"good", "Good", false}));
}

TEST_F(CoreAudioSupport, WithoutAReadableDefaultTheRoutesAreByNameAlone) {
    const auto device = hardware.addDevice({.uid = "b", .name = "B"});
    hardware.addDevice({.uid = "a", .name = "A"});
    hardware.setDefaultOutputDevice(device);
    hardware.fail(
        {.call = HardwareCall::getPropertyData, .selector = kAudioHardwarePropertyDefaultOutputDevice});
    EXPECT_THAT(readOutputRoutes(hardware),
                ElementsAre(AudioOutputRoute{"a", "A", false}, AudioOutputRoute{"b", "B", false}));
}

TEST_F(CoreAudioSupport, WithoutAReadableDeviceListThereAreNoRoutes) {
    hardware.addDevice({.uid = "a", .name = "A"});
    hardware.fail({.call = HardwareCall::getPropertyDataSize, .selector = kAudioHardwarePropertyDevices});
    EXPECT_THAT(readOutputRoutes(hardware), IsEmpty());
}

struct PropertyObserver : CoreAudioSupport {
    CoreAudioPropertyObserver makeObserver(AudioObjectID object) {
        return {hardware,
                log,
                object,
                kAudioObjectPropertyName,
                kAudioObjectPropertyScopeGlobal,
                [this] { ++changes; }};
    }

    AudioObjectID device = hardware.addDevice({.uid = "a", .name = "A"});
    int changes = 0;
};

TEST_F(PropertyObserver, TellsOfEachChangeOnTheMainThread) {
    auto observer = makeObserver(device);
    hardware.setString(device, kAudioObjectPropertyName, "B");
    EXPECT_EQ(changes, 0);
    mainThread.runPosted();
    EXPECT_EQ(changes, 1);
    hardware.setString(device, kAudioDevicePropertyDeviceUID, "another property");
    mainThread.runPosted();
    EXPECT_EQ(changes, 1);
    observer.invalidate();
}

TEST_F(PropertyObserver, IsSilentOnceInvalidatedAlsoForWhatWasUnderWay) {
    auto observer = makeObserver(device);
    hardware.setString(device, kAudioObjectPropertyName, "B");
    observer.invalidate();
    observer.invalidate();
    mainThread.runPosted();
    EXPECT_EQ(changes, 0);
    EXPECT_FALSE(observer.isRegistered());
    EXPECT_EQ(hardware.listenerCount(device, kAudioObjectPropertyName), 0U);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(PropertyObserver, DroppedWithoutInvalidatingIsSilentButStaysRegistered) {
    makeObserver(device);
    hardware.setString(device, kAudioObjectPropertyName, "B");
    mainThread.runPosted();
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(hardware.listenerCount(device, kAudioObjectPropertyName), 1U);
}

TEST_F(PropertyObserver, AFailedRegistrationIsLoggedAndLeavesItInert) {
    hardware.fail({.call = HardwareCall::addPropertyListener, .status = -7, .times = 1});
    auto observer = makeObserver(device);
    EXPECT_FALSE(observer.isRegistered());
    EXPECT_THAT(log.messages(LogLevel::error),
                ElementsAre("Failed to add property listener on #" + std::to_string(device) + ": -7"));
    hardware.clearCalls();
    observer.invalidate();
    EXPECT_THAT(hardware.calls(), IsEmpty());
}

TEST_F(PropertyObserver, AFailedRemovalIsLoggedForTheCurious) {
    auto observer = makeObserver(device);
    hardware.removeObject(device);
    observer.invalidate();
    EXPECT_THAT(log.messages(LogLevel::debug),
                ElementsAre("Failed to remove property listener on #" + std::to_string(device) + ": " +
                            std::to_string(kAudioHardwareBadObjectError)));
    EXPECT_FALSE(observer.isRegistered());
    observer.invalidate();
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(PropertyObserver, MayBeInvalidatedByItsOwnAction) {
    std::unique_ptr<CoreAudioPropertyObserver> observer;
    observer = std::make_unique<CoreAudioPropertyObserver>(hardware, log, device, kAudioObjectPropertyName,
                                                           kAudioObjectPropertyScopeGlobal, [&] {
                                                               ++changes;
                                                               observer->invalidate();
                                                               observer.reset();
                                                           });
    hardware.setString(device, kAudioObjectPropertyName, "B");
    hardware.setString(device, kAudioObjectPropertyName, "C");
    mainThread.runPosted();
    EXPECT_EQ(changes, 1);
}

} // namespace
} // namespace vello
