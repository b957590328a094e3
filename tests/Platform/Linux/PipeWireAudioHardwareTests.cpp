// SPDX-License-Identifier: Apache-2.0
// The audio object model on a real server.
#include "Platform/Linux/PipeWireAudioHardware.h"

#include "AudioGraph.h"
#include "Players.h"
#include "PrivateAudioSession.h"
#include "support/PumpedMainThread.h"
#include "support/RecordingSystemLog.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstring>
#include <thread>

#include <gmock/gmock.h>

namespace vello {
namespace {

using namespace std::chrono_literals;
using session::AudioGraph;
using session::GraphState;
using session::PlayerKind;
using session::PrivateAudioSession;

constexpr char captureName[] = "EQ-by-QUORVIN-Tap-Player.1";

/// Counts its calls and plays what it captured.
struct CountingCallback {
    std::atomic<int> calls{0};

    static OSStatus run(AudioObjectID, const AudioBufferList* input, AudioBufferList* output,
                        void* data) noexcept {
        ++static_cast<CountingCallback*>(data)->calls;
        const AudioBuffer& captured = input->buffers()[0];
        const AudioBuffer& played = output->buffers()[0];
        std::memset(played.mData, 0, played.mDataByteSize);
        if (captured.mData != nullptr)
            std::memcpy(played.mData, captured.mData, std::min(captured.mDataByteSize, played.mDataByteSize));
        return 0;
    }
};

struct Tap {
    AudioObjectID tap = 0;
    AudioObjectID device = 0;
    AudioDeviceIOProcID proc = 0;
};

class PipeWireAudioHardwareTest : public testing::Test {
protected:
    template <class Value> std::vector<Value> read(AudioObjectID object, FourCharCode selector) const {
        const AudioObjectPropertyAddress address{selector, kAudioObjectPropertyScopeGlobal, 0};
        std::uint32_t size = 0;
        if (hardware.getPropertyDataSize(object, address, size) != kAudioHardwareNoError)
            return {};
        std::vector<Value> values(size / sizeof(Value));
        if (hardware.getPropertyData(object, address, size, values.data()) != kAudioHardwareNoError)
            return {};
        return values;
    }
    template <class Value> Value readOne(AudioObjectID object, FourCharCode selector) const {
        const auto values = read<Value>(object, selector);
        return values.size() == 1 ? values.front() : Value{};
    }
    std::string readText(AudioObjectID object, FourCharCode selector) const {
        const auto characters = read<char>(object, selector);
        return {characters.begin(), characters.end()};
    }
    std::vector<AudioObjectID> devices() const {
        return read<AudioObjectID>(kAudioObjectSystemObject, kAudioHardwarePropertyDevices);
    }
    std::vector<AudioObjectID> processes() const {
        return read<AudioObjectID>(kAudioObjectSystemObject, kAudioHardwarePropertyProcessObjectList);
    }
    std::string defaultOutput() const {
        return readText(
            readOne<AudioObjectID>(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice),
            kAudioDevicePropertyDeviceUID);
    }
    std::vector<std::string> devicesOf(AudioObjectID process) const {
        std::vector<std::string> names;
        for (const AudioObjectID device : read<AudioObjectID>(process, kAudioProcessPropertyDevices))
            names.push_back(readText(device, kAudioDevicePropertyDeviceUID));
        return names;
    }
    bool isRunning(AudioObjectID process) const {
        return readOne<std::uint32_t>(process, kAudioProcessPropertyIsRunningOutput) != 0;
    }

    /// Counts the changes of a property.
    std::shared_ptr<int> observe(AudioObjectID object, FourCharCode selector) {
        auto count = std::make_shared<int>(0);
        AudioPropertyListenerID id = 0;
        EXPECT_EQ(hardware.addPropertyListener(
                      object, {selector, kAudioObjectPropertyScopeGlobal, 0}, [count] { ++*count; }, id),
                  kAudioHardwareNoError);
        return count;
    }

    std::unique_ptr<session::ChildProcess> play(PlayerKind kind = PlayerKind::native,
                                                std::string output = {}) {
        auto player =
            startPlayer(audio, kind, {.name = "player", .signal = "counter", .output = std::move(output)});
        EXPECT_TRUE(mainThread.runUntil([&] {
            return !processes().empty() && isRunning(processes().back());
        })) << player->output();
        return player;
    }

    Tap createTap(const std::string& uuid, const std::string& output = "output-a", bool isChosen = false) {
        Tap made;
        EXPECT_EQ(hardware.createProcessTap({.processes = processes(), .uuid = uuid}, made.tap), 0);
        EXPECT_EQ(hardware.createAggregateDevice({.name = "EQ-by-QUORVIN-Tap-Player",
                                                  .uid = "group-" + uuid,
                                                  .mainSubDevice = output,
                                                  .isMainSubDeviceChosen = isChosen,
                                                  .taps = {{.uid = uuid, .drift = true}}},
                                                 made.device),
                  0);
        return made;
    }
    Tap makeTap(const std::string& uuid, const std::string& output = "output-a", bool isChosen = false) {
        const Tap made = createTap(uuid, output, isChosen);
        EXPECT_TRUE(mainThread.runUntil(
            [&] { return readOne<std::uint32_t>(made.device, kAudioDevicePropertyDeviceIsAlive) != 0; }));
        return made;
    }
    void start(Tap& tap) {
        EXPECT_EQ(hardware.createIOProcID(tap.device, CountingCallback::run, &callback, tap.proc), 0);
        EXPECT_EQ(hardware.startDevice(tap.device, tap.proc), 0);
    }
    void destroy(const Tap& tap) {
        EXPECT_EQ(hardware.stopDevice(tap.device, tap.proc), 0);
        EXPECT_EQ(hardware.destroyIOProcID(tap.device, tap.proc), 0);
        EXPECT_EQ(hardware.destroyAggregateDevice(tap.device), 0);
        EXPECT_EQ(hardware.destroyProcessTap(tap.tap), 0);
    }
    /// As the teardown queue does it: on another thread, while the main thread goes on.
    void destroyInBackground(const Tap& tap) {
        std::atomic<bool> isDone = false;
        std::thread queue([&] {
            destroy(tap);
            isDone = true;
        });
        EXPECT_TRUE(mainThread.runUntil([&] { return isDone.load(); }));
        queue.join();
    }
    bool waitUntilLinked(const std::string& from, const std::string& to) {
        return graph.waitUntil([&](const GraphState& state) { return state.isLinked(from, to); });
    }

    PrivateAudioSession audio;
    AudioGraph graph{audio.socket()};
    PumpedMainThread mainThread;
    RecordingSystemLog log;
    CountingCallback callback;
    PipeWireAudioHardware hardware{mainThread, log, audio.socket()};
};

TEST_F(PipeWireAudioHardwareTest, showsTheOutputsAsDevices) {
    ASSERT_TRUE(mainThread.runUntil([&] { return devices().size() == 2 && defaultOutput() == "output-a"; }));
    const AudioObjectID device = devices().back();
    EXPECT_EQ(readText(device, kAudioDevicePropertyDeviceUID), "output-b");
    EXPECT_EQ(readText(device, kAudioObjectPropertyName), "Output B");
    EXPECT_EQ(readOne<double>(device, kAudioDevicePropertyNominalSampleRate), 48000);
    const auto streams = readOne<AudioBufferListStorage<1>>(device, kAudioDevicePropertyStreamConfiguration);
    EXPECT_EQ(streams.buffers[0].mNumberChannels, 2U);
    EXPECT_TRUE(processes().empty());
}

TEST_F(PipeWireAudioHardwareTest, tellsOfDevicesThatComeAndGoAndOfTheDefaultOutput) {
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

TEST_F(PipeWireAudioHardwareTest, tellsTheApplicationsOwnProcessForEveryKindOfPlayer) {
    for (const PlayerKind kind : {PlayerKind::native, PlayerKind::pulseAudio, PlayerKind::alsa}) {
        const auto player = play(kind);
        EXPECT_EQ(readOne<std::int32_t>(processes().back(), kAudioProcessPropertyPID), player->pid())
            << name(kind);
        EXPECT_THAT(devicesOf(processes().back()), testing::ElementsAre("output-a"));
        player->kill();
        EXPECT_TRUE(mainThread.runUntil([&] { return processes().empty(); }));
    }
}

TEST_F(PipeWireAudioHardwareTest, aStartedTapHasTheStreamAndAStoppedOneGivesItBack) {
    const auto player = play();
    Tap tap = makeTap("one");
    EXPECT_TRUE(graph.state().isLinked("player", "output-a"));
    start(tap);
    EXPECT_TRUE(waitUntilLinked("player", captureName));
    EXPECT_FALSE(graph.state().isLinked("player", "output-a"));
    EXPECT_TRUE(mainThread.runUntil([&] { return callback.calls > 10; }));
    destroyInBackground(tap);
    EXPECT_TRUE(waitUntilLinked("player", "output-a"));
    EXPECT_TRUE(graph.waitUntil([](const GraphState& state) {
        return state.metadata.size() ==
               std::size_t(std::ranges::count_if(state.metadata,
                                                 [](const auto& entry) { return entry.first.first == 0; }));
    })) << describe(graph.state());
    EXPECT_TRUE(
        graph.waitUntil([](const GraphState& state) { return state.nodeNamed(captureName) == nullptr; }));
    const int calls = callback.calls;
    EXPECT_FALSE(mainThread.runUntil([&] { return callback.calls != calls; }, 200ms));
}

TEST_F(PipeWireAudioHardwareTest, aRebuildHandsTheStreamOverWithoutLettingItGo) {
    const auto player = play();
    Tap old = makeTap("old");
    start(old);
    ASSERT_TRUE(waitUntilLinked("player", captureName));
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

TEST_F(PipeWireAudioHardwareTest, aMoveByTheMixerIsTheApplicationsOwnAndTheTapKeepsTheStream) {
    const auto player = play();
    Tap tap = makeTap("one");
    start(tap);
    ASSERT_TRUE(waitUntilLinked("player", captureName));
    const AudioObjectID process = processes().front();
    const auto moves = observe(process, kAudioProcessPropertyDevices);
    graph.moveStream(graph.state().nodeNamed("player")->id, "output-b");
    EXPECT_TRUE(mainThread.runUntil(
        [&] { return *moves > 0 && devicesOf(process) == std::vector<std::string>{"output-b"}; }));
    EXPECT_TRUE(waitUntilLinked("player", captureName));
    destroyInBackground(tap);
    EXPECT_TRUE(waitUntilLinked("player", "output-b"));
}

TEST_F(PipeWireAudioHardwareTest, aTapThatWaitsForItsTurnIsMadeEvenIfTheSessionManagerLinksNoneBeforeIt) {
    constexpr int givenAtOnce = 8;
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
    // Short waits: in a long one the graph would ask the session manager, and see nothing until it answers.
    bool isMadeInItsTurn = false;
    for (int wait = 0; wait < 20 && !isMadeInItsTurn; ++wait)
        isMadeInItsTurn = graph.waitUntil(isMade(givenAtOnce + 1), 250ms);
    EXPECT_TRUE(isMadeInItsTurn);
    audio.sessionManager().signal(SIGCONT);
}

TEST_F(PipeWireAudioHardwareTest, everyObjectDiesWithTheServerAndNewOnesComeWithIt) {
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

TEST_F(PipeWireAudioHardwareTest, theCallsForASignalHandlerGiveTheStreamBackAtOnce) {
    const auto player = play();
    Tap tap = makeTap("one");
    start(tap);
    ASSERT_TRUE(waitUntilLinked("player", captureName));
    hardware.destroyAggregateDeviceInSignalHandler(tap.device);
    EXPECT_TRUE(waitUntilLinked("player", "output-a"));
}

TEST_F(PipeWireAudioHardwareTest, unknownObjectsAndPropertiesAreErrors) {
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
