// SPDX-License-Identifier: Apache-2.0
// The audio object model on a real server.
#include "PipeWireAudioHardwareFixture.h"

#include <csignal>

namespace vello {
namespace {

using namespace std::chrono_literals;
using session::AudioGraph;
using session::GraphState;
using session::PlayerKind;
using session::PrivateAudioSession;

TEST_F(PipeWireAudioHardwareTest, ShowsTheOutputsAsDevices) {
    ASSERT_TRUE(mainThread.runUntil([&] { return devices().size() == 2 && defaultOutput() == "output-a"; }));
    const AudioObjectID device = devices().back();
    EXPECT_EQ(readText(device, kAudioDevicePropertyDeviceUID), "output-b");
    EXPECT_EQ(readText(device, kAudioObjectPropertyName), "Output B");
    EXPECT_EQ(readOne<double>(device, kAudioDevicePropertyNominalSampleRate), 48000);
    const auto streams = readOne<AudioBufferListStorage<1>>(device, kAudioDevicePropertyStreamConfiguration);
    EXPECT_EQ(streams.buffers[0].mNumberChannels, 2U);
    EXPECT_TRUE(processes().empty());
}

TEST_F(PipeWireAudioHardwareTest, TellsOfDevicesThatComeAndGoAndOfTheDefaultOutput) {
    ASSERT_TRUE(mainThread.runUntil([&] { return devices().size() == 2; }));
    const auto deviceChanges = observe(kAudioObjectSystemObject, kAudioHardwarePropertyDevices);
    const auto defaultChanges = observe(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice);
    graph.createOutput("output-c", "Output C");
    EXPECT_TRUE(mainThread.runUntil([&] { return *deviceChanges > 0 && devices().size() == 3; }));
    graph.chooseDefaultOutput("output-c");
    EXPECT_TRUE(mainThread.runUntil([&] { return *defaultChanges > 0 && defaultOutput() == "output-c"; }));
    const AudioObjectID gone = devices().back();
    graph.destroyOutput("output-c");
    EXPECT_TRUE(mainThread.runUntil([&] { return devices().size() == 2 && defaultOutput() == "output-a"; }));
    EXPECT_TRUE(read<char>(gone, kAudioDevicePropertyDeviceUID).empty());
}

TEST_F(PipeWireAudioHardwareTest, TellsTheApplicationsOwnProcessForEveryKindOfPlayer) {
    for (const PlayerKind kind : {PlayerKind::native, PlayerKind::pulseAudio, PlayerKind::alsa}) {
        const auto player = play(kind);
        EXPECT_EQ(readOne<std::int32_t>(processes().back(), kAudioProcessPropertyPID), player->pid())
            << name(kind);
        EXPECT_THAT(devicesOf(processes().back()), testing::ElementsAre("output-a"));
        player->kill();
        EXPECT_TRUE(mainThread.runUntil([&] { return processes().empty(); }));
    }
}

TEST_F(PipeWireAudioHardwareTest, AStartedTapHasTheStreamAndAStoppedOneGivesItBack) {
    const auto player = play();
    Tap tap = makeTap("one");
    EXPECT_TRUE(graph.state().isLinked("player", "output-a"));
    start(tap);
    EXPECT_TRUE(waitUntilLinked("player", kCaptureName));
    EXPECT_FALSE(graph.state().isLinked("player", "output-a"));
    EXPECT_TRUE(mainThread.runUntil([&] { return callback.calls > 10; }));
    EXPECT_FALSE(callback.hasDenormals) << "they would cost the filters time";
    destroyInBackground(tap);
    EXPECT_TRUE(waitUntilLinked("player", "output-a"));
    EXPECT_TRUE(graph.waitUntil([](const GraphState& state) {
        return state.metadata.size() ==
               std::size_t(std::ranges::count_if(state.metadata,
                                                 [](const auto& entry) { return entry.first.first == 0; }));
    })) << describe(graph.state());
    EXPECT_TRUE(
        graph.waitUntil([](const GraphState& state) { return state.nodeNamed(kCaptureName) == nullptr; }));
    const int calls = callback.calls;
    CountingCallback later;
    Tap next = makeTap("next");
    start(next, later);
    EXPECT_TRUE(mainThread.runUntil([&] { return later.calls > 10; }));
    EXPECT_EQ(callback.calls, calls) << "the stopped one is not called any more";
    destroyInBackground(next);
}

TEST_F(PipeWireAudioHardwareTest, ARebuildHandsTheStreamOverWithoutLettingItGo) {
    const auto player = play();
    Tap old = makeTap("old");
    start(old);
    ASSERT_TRUE(waitUntilLinked("player", kCaptureName));
    std::atomic<bool> wasDirect = false;
    std::atomic<bool> isOver = false;
    std::thread watcher([&] {
        AudioGraph eyes(audio.socket());
        eyes.waitUntil(
            [&](const GraphState& state) {
                if (!isOver && state.isLinked("player", "output-a"))
                    wasDirect = true;
                return isOver.load();
            },
            10s);
    });
    std::atomic<bool> isGone = false;
    std::thread queue([&] {
        destroy(old);
        isGone = true;
    });
    Tap fresh = makeTap("new");
    start(fresh);
    EXPECT_TRUE(mainThread.runUntil([&] { return isGone.load(); }));
    queue.join();
    EXPECT_TRUE(waitUntilLinked("player", "EQ-by-QUORVIN-Tap-Player.2"));
    isOver = true;
    destroyInBackground(fresh);
    watcher.join();
    EXPECT_FALSE(wasDirect);
}

TEST_F(PipeWireAudioHardwareTest, AMoveByTheMixerIsTheApplicationsOwnAndTheTapKeepsTheStream) {
    const auto player = play();
    Tap tap = makeTap("one");
    start(tap);
    ASSERT_TRUE(waitUntilLinked("player", kCaptureName));
    const AudioObjectID process = processes().front();
    const auto moves = observe(process, kAudioProcessPropertyDevices);
    graph.moveStream(graph.state().nodeNamed("player")->id, "output-b");
    EXPECT_TRUE(mainThread.runUntil(
        [&] { return *moves > 0 && devicesOf(process) == std::vector<std::string>{"output-b"}; }));
    EXPECT_TRUE(waitUntilLinked("player", kCaptureName));
    destroyInBackground(tap);
    EXPECT_TRUE(waitUntilLinked("player", "output-b"));
}

TEST_F(PipeWireAudioHardwareTest, AMoveNamesADeviceByItsNumberOrByItsSerial) {
    graph.createOutput("first", "First");
    graph.destroyOutput("first");
    graph.createOutput("second", "Second"); // the number is used again, the serial is not
    const auto second = *graph.state().nodeNamed("second");
    const std::string number = std::to_string(second.id);
    const std::string serial = second.property("object.serial");
    ASSERT_NE(number, serial);
    const auto player = play();
    const AudioObjectID process = processes().front();
    const auto stream = graph.state().nodeNamed("player")->id;
    const auto plays = [&](const std::string& device) {
        return mainThread.runUntil([&] { return devicesOf(process) == std::vector{device}; });
    };
    graph.setMetadata(stream, "target.node", "Spa:Id", number);
    EXPECT_TRUE(plays("second"));
    graph.moveStream(stream, "output-b");
    EXPECT_TRUE(plays("output-b"));
    graph.setMetadata(stream, "target.object", "Spa:Id", serial);
    EXPECT_TRUE(plays("second"));
}

TEST_F(PipeWireAudioHardwareTest, ATapThatWaitsForItsTurnIsMadeEvenIfTheSessionManagerLinksNoneBeforeIt) {
    constexpr int givenAtOnce = 16;
    const auto player = play();
    audio.sessionManager().signal(SIGSTOP);
    for (int i = 0; i <= givenAtOnce; ++i)
        createTap(std::to_string(i));
    const auto isMade = [](int number) {
        return [name = "EQ-by-QUORVIN-Tap-Player." + std::to_string(number)](const GraphState& state) {
            return state.nodeNamed(name) != nullptr;
        };
    };
    ASSERT_TRUE(graph.waitUntil(isMade(givenAtOnce)));
    EXPECT_FALSE(isMade(givenAtOnce + 1)(graph.state()));
    // Short waits: during a long one the graph would query the session manager, and show nothing until it
    // answers.
    bool isMadeInItsTurn = false;
    for (int wait = 0; wait < 20 && !isMadeInItsTurn; ++wait)
        isMadeInItsTurn = graph.waitUntil(isMade(givenAtOnce + 1), 250ms);
    EXPECT_TRUE(isMadeInItsTurn);
    audio.sessionManager().signal(SIGCONT);
}

TEST_F(PipeWireAudioHardwareTest, EveryObjectDiesWithTheServerAndNewOnesComeWithIt) {
    auto player = play();
    Tap tap = makeTap("one");
    start(tap);
    ASSERT_TRUE(mainThread.runUntil([&] { return callback.calls > 0; }));
    const auto lists = observe(kAudioObjectSystemObject, kAudioHardwarePropertyProcessObjectList);
    const AudioObjectID process = processes().front();
    audio.killServers();
    EXPECT_TRUE(mainThread.runUntil([&] { return *lists > 0 && processes().empty() && devices().empty(); }));
    EXPECT_EQ(hardware.stopDevice(tap.device, tap.proc), kAudioHardwareBadObjectError);
    EXPECT_EQ(hardware.destroyAggregateDevice(tap.device), kAudioHardwareBadObjectError);
    EXPECT_EQ(hardware.destroyProcessTap(tap.tap), kAudioHardwareBadObjectError);
    AudioObjectID none = 0;
    EXPECT_EQ(hardware.createProcessTap({.uuid = "two"}, none), kAudioHardwareNotRunningError);
    audio.startServers();
    EXPECT_TRUE(mainThread.runUntil([&] { return devices().size() == 2 && defaultOutput() == "output-a"; }));
    player = play();
    EXPECT_GT(processes().front(), process);
    EXPECT_EQ(log.messagesStartingWith("The connection to the audio server is lost").size(), 1U);
}

TEST_F(PipeWireAudioHardwareTest, TheCallsForASignalHandlerGiveTheStreamBackAtOnce) {
    const auto player = play();
    Tap tap = makeTap("one");
    start(tap);
    ASSERT_TRUE(waitUntilLinked("player", kCaptureName));
    hardware.destroyAggregateDeviceInSignalHandler(tap.device);
    EXPECT_TRUE(waitUntilLinked("player", "output-a"));
}

TEST_F(PipeWireAudioHardwareTest, UnknownObjectsAndPropertiesAreErrors) {
    ASSERT_TRUE(mainThread.runUntil([&] { return devices().size() == 2; }));
    std::uint32_t size = 0;
    const AudioObjectPropertyAddress name{kAudioObjectPropertyName, kAudioObjectPropertyScopeGlobal, 0};
    EXPECT_EQ(hardware.getPropertyDataSize(4711, name, size), kAudioHardwareBadObjectError);
    EXPECT_EQ(hardware.getPropertyDataSize(devices().front(), {kAudioTapPropertyFormat, 0, 0}, size),
              kAudioHardwareUnknownPropertyError);
    AudioObjectID device = 0;
    EXPECT_EQ(hardware.createAggregateDevice({.taps = {{.uid = "nobody's"}}}, device),
              kAudioHardwareBadObjectError);
    AudioObjectID tap = 0;
    EXPECT_EQ(hardware.createProcessTap({.mixdown = TapMixdown::stereoGlobalButExclude}, tap),
              kAudioHardwareIllegalOperationError);
}

} // namespace
} // namespace vello
