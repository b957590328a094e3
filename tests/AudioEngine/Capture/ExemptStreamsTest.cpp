// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/ExemptStreams.h"

#include "support/FakeAudioHardware.h"
#include "support/FakeRunningApplications.h"
#include "support/VirtualMainThread.h"

#include <gmock/gmock.h>

namespace vello {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

struct ExemptStreamsTest : testing::Test {
    std::vector<ExemptStream> read() { return ExemptStreams(hardware, applications).read(); }

    VirtualMainThread mainThread;
    FakeAudioHardware hardware{mainThread};
    FakeRunningApplications applications;
    AudioObjectID speakers = hardware.addDevice({.uid = "speakers", .name = "Speakers"});
};

TEST_F(ExemptStreamsTest, TellsEverythingOfAStream) {
    applications.applications[50] = {"org.example.game", "Game", {}};
    applications.responsible[51] = 50;
    hardware.addExemptStream({.name = "Music",
                              .exemption = StreamExemption::fixed,
                              .process = {.pid = 51, .bundleID = "claimed", .devices = {speakers}}});
    EXPECT_THAT(read(), ElementsAre(ExemptStream{.sourceID = "org.example.game",
                                                 .name = "Game",
                                                 .streamName = "Music",
                                                 .pid = 50,
                                                 .bundleID = "org.example.game",
                                                 .deviceUID = "speakers",
                                                 .isPlaying = true,
                                                 .reason = StreamExemption::fixed}));
}

TEST_F(ExemptStreamsTest, IdentifiesAStreamAsTheListOfSourcesDoes) {
    hardware.addExemptStream({.process = {.pid = 4242, .isRunningOutput = false}});
    hardware.addExemptStream({.process = {.pid = 0, .bundleID = "org.example.sandboxed"}});
    applications.installed["org.example.sandboxed"] = {"org.example.sandboxed", "Sandboxed", {}};
    const auto streams = read();
    ASSERT_THAT(streams, SizeIs(2));
    EXPECT_EQ(streams[0], (ExemptStream{.sourceID = "pid.4242",
                                        .name = "Process 4242",
                                        .streamName = "",
                                        .pid = 4242,
                                        .reason = StreamExemption::fixed}));
    EXPECT_EQ(streams[1].sourceID, "org.example.sandboxed");
    EXPECT_EQ(streams[1].name, "Sandboxed");
    EXPECT_EQ(streams[1].pid, std::nullopt);
}

TEST_F(ExemptStreamsTest, AStreamOfTheAudioSystemHasItsOwnNameAndNoSource) {
    hardware.addExemptStream({.name = "Loopback", .exemption = StreamExemption::module, .process = {}});
    hardware.addExemptStream({.name = "\x1b", .exemption = StreamExemption::module, .process = {}});
    const auto streams = read();
    ASSERT_THAT(streams, SizeIs(2));
    EXPECT_EQ(streams[0].name, "Loopback");
    EXPECT_EQ(streams[0].sourceID, std::nullopt);
    EXPECT_EQ(streams[1].name, "Process ?");
    EXPECT_EQ(streams[1].streamName, "");
}

TEST_F(ExemptStreamsTest, IsInTheOrderOfNames) {
    hardware.addExemptStream({.process = {.pid = 50, .bundleID = "player 10"}});
    hardware.addExemptStream({.process = {.pid = 60, .bundleID = "Player 2"}});
    const auto streams = read();
    ASSERT_THAT(streams, SizeIs(2));
    EXPECT_EQ(streams[0].name, "Player 2");
}

TEST_F(ExemptStreamsTest, LeavesOutTheProgramItselfAndWhatCannotBeRead) {
    hardware.addExemptStream({.process = {.pid = applications.own, .bundleID = "self"}});
    applications.responsible[77] = applications.own;
    hardware.addExemptStream({.process = {.pid = 77, .bundleID = "helper"}});
    for (const FourCharCode selector :
         {kAudioProcessPropertyPID, kAudioProcessPropertyIsRunningOutput, kAudioStreamPropertyExemption})
        hardware.removeProperty(hardware.addExemptStream({.process = {.pid = 50}}), selector);
    EXPECT_THAT(read(), IsEmpty());
}

TEST_F(ExemptStreamsTest, ADeviceThatIsGoneIsNone) {
    hardware.addExemptStream({.process = {.pid = 50, .devices = {speakers}}});
    hardware.removeObject(speakers);
    ASSERT_THAT(read(), SizeIs(1));
    EXPECT_EQ(read().front().deviceUID, std::nullopt);
}

TEST_F(ExemptStreamsTest, AListThatCannotBeReadIsEmpty) {
    hardware.addExemptStream({.process = {.pid = 50}});
    hardware.fail(
        {.call = HardwareCall::getPropertyData, .selector = kAudioHardwarePropertyExemptStreamList});
    EXPECT_THAT(read(), IsEmpty());
}

TEST_F(ExemptStreamsTest, AStrangersNameIsBounded) {
    hardware.addExemptStream({.name = std::string(1000000, 'n'), .process = {.pid = 50}});
    ASSERT_THAT(read(), SizeIs(1));
    EXPECT_LE(read().front().streamName.size(), 200U);
}

} // namespace
} // namespace vello
