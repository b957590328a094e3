// SPDX-License-Identifier: Apache-2.0
#include "ProcessTapFixture.h"

#include "AudioEngine/Realtime/EQDSP.h"

namespace vello {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST_F(Tap, CreatesNothingBeforeItIsActivated) {
    const auto tap = makeTap(settingsFor("headset"));
    EXPECT_THAT(hardware.calls(), IsEmpty());
    EXPECT_EQ(tap->outputDeviceUID(), "headset");
    EXPECT_EQ(tap->resolvedOutputDeviceUID(), std::nullopt);
    EXPECT_EQ(tap->sampleRate(), 0);
}

TEST_F(Tap, BuildsEverythingInOrder) {
    const auto tap = makeRunningTap();
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(failure, "");
    const auto aggregate = std::to_string(tap->aggregateDeviceID());
    EXPECT_THAT(hardware.actions(), ElementsAre("createProcessTap " + std::to_string(tap->tapID()),
                                                "createAggregateDevice " + aggregate,
                                                "createIOProcID " + aggregate, "startDevice " + aggregate));
    EXPECT_EQ(tap->activatedAt(), mainThread.now());
    EXPECT_EQ(tap->sampleRate(), 44100);
    EXPECT_EQ(hardware.ioProcOf(tap->aggregateDeviceID())->clientData, tap->realtimeContext().get());
    EXPECT_EQ(hardware.ioProcOf(tap->aggregateDeviceID())->proc, eqByQUORVINProcessIOProc);
    EXPECT_TRUE(isRegistered(tap->aggregateDeviceID(), tap->tapID()));
    EXPECT_EQ(hardware.listenerCount(tap->tapID(), kAudioTapPropertyFormat), 1U);
    EXPECT_EQ(hardware.listenerCount(player, kAudioProcessPropertyDevices), 1U);
    EXPECT_THAT(log.messages(LogLevel::notice),
                ElementsAre("Tap running for Player (tap #" + std::to_string(tap->tapID()) + ", aggregate #" +
                            aggregate + ", 44100 Hz)"));
    EXPECT_EQ(log.lines().at(0).subsystem, "com.quorvin.Vello");
    EXPECT_EQ(log.lines().at(0).category, "ProcessTap");
}

TEST_F(Tap, DescribesTheTap) {
    const auto tap = makeRunningTap();
    const TapDescription description = hardware.tapDescription(tap->tapID());
    EXPECT_EQ(description.mixdown, TapMixdown::stereoOfProcesses);
    EXPECT_THAT(description.processes, ElementsAre(player));
    EXPECT_EQ(description.muteBehavior, TapMuteBehavior::mutedWhenTapped);
    EXPECT_TRUE(description.isPrivate);
    EXPECT_THAT(description.uuid, SizeIs(36));
}

TEST_F(Tap, DescribesTheAggregateDevice) {
    const auto tap = makeRunningTap();
    const AggregateDeviceDescription description = hardware.aggregateDescription(tap->aggregateDeviceID());
    EXPECT_EQ(description.name, "EQ-by-QUORVIN-Tap-Player");
    EXPECT_THAT(description.uid, SizeIs(36));
    EXPECT_EQ(description.mainSubDevice, "speakers");
    EXPECT_FALSE(description.isMainSubDeviceChosen);
    EXPECT_TRUE(description.isPrivate);
    EXPECT_FALSE(description.isStacked);
    EXPECT_TRUE(description.tapAutoStart);
    EXPECT_THAT(description.subDevices, ElementsAre("speakers"));
    ASSERT_THAT(description.taps, SizeIs(1));
    EXPECT_EQ(description.taps[0].uid, hardware.tapDescription(tap->tapID()).uuid);
    EXPECT_TRUE(description.taps[0].drift);
    EXPECT_NE(description.uid, description.taps[0].uid);
}

TEST_F(Tap, AGlobalTapCapturesAllButSomeAndGoesToTheDefaultOutput) {
    hardware.setDefaultOutputDevice(headset);
    const auto tap = makeTap(ProcessTap::GlobalExcluding{{player}});
    activate(*tap);
    EXPECT_EQ(hardware.tapDescription(tap->tapID()).mixdown, TapMixdown::stereoGlobalButExclude);
    EXPECT_THAT(hardware.tapDescription(tap->tapID()).processes, ElementsAre(player));
    EXPECT_EQ(tap->resolvedOutputDeviceUID(), "headset");
    EXPECT_EQ(hardware.listenerCount(player, kAudioProcessPropertyDevices), 0U);
    EXPECT_FALSE(tap->automaticRouteWouldChangeDevice());
}

TEST_F(Tap, TargetsAreEqualWhenCaseAndProcessesAre) {
    using Target = ProcessTap::Target;
    EXPECT_EQ(Target(ProcessTap::Processes{{1, 2}}), Target(ProcessTap::Processes{{1, 2}}));
    EXPECT_NE(Target(ProcessTap::Processes{{1, 2}}), Target(ProcessTap::Processes{{2, 1}}));
    EXPECT_NE(Target(ProcessTap::Processes{{1}}), Target(ProcessTap::GlobalExcluding{{1}}));
}

TEST_F(Tap, CompensatesNoDriftOnBluetooth) {
    const auto le = hardware.addDevice(
        {.uid = "le", .name = "LE", .transportType = kAudioDeviceTransportTypeBluetoothLE});
    EXPECT_TRUE(ProcessTap::isBluetoothDevice(hardware, headset));
    EXPECT_TRUE(ProcessTap::isBluetoothDevice(hardware, le));
    EXPECT_FALSE(ProcessTap::isBluetoothDevice(hardware, speakers));
    const auto tap = makeRunningTap(settingsFor("headset"));
    EXPECT_FALSE(hardware.aggregateDescription(tap->aggregateDeviceID()).taps.at(0).drift);
}

TEST_F(Tap, ALabelOfAnyLengthGivesABoundedName) {
    ProcessTap tap(TapServices{hardware, mainThread, log, queue}, ProcessTap::Processes{{player}},
                   std::string(1000000, 'n'), {});
    activate(tap);
    EXPECT_EQ(hardware.aggregateDescription(tap.aggregateDeviceID()).name,
              "EQ-by-QUORVIN-Tap-" + std::string(197, 'n') + "…");
    ProcessTap unnamed(TapServices{hardware, mainThread, log, queue}, ProcessTap::Processes{{player}}, "",
                       {});
    activate(unnamed);
    EXPECT_EQ(hardware.aggregateDescription(unnamed.aggregateDeviceID()).name, "EQ-by-QUORVIN-Tap-");
}

} // namespace
} // namespace vello
