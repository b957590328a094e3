// SPDX-License-Identifier: Apache-2.0
// The pair of nodes that is made before the device that takes it, and pairs that nothing plays into.
#include "PipeWireAudioHardwareFixture.h"

namespace vello {
namespace {

using session::GraphNode;
using session::GraphState;

constexpr char kSpareName[] = "EQ-by-QUORVIN-Tap-spare.1";
constexpr char kNextName[] = "EQ-by-QUORVIN-Tap-spare.2";

bool isNodeRunning(const GraphState& state, const std::string& name) {
    const GraphNode* node = state.nodeNamed(name);
    return node != nullptr && node->state == "running";
}

class PipeWireTapSpareTest : public PipeWireAudioHardwareTest {
protected:
    void want(std::uint32_t value = 1) {
        EXPECT_EQ(hardware.setPropertyData(kAudioObjectSystemObject,
                                           {kAudioHardwarePropertySpareDevice,
                                            kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain},
                                           sizeof value, &value),
                  kAudioHardwareNoError);
    }
    bool isReady() const {
        return readOne<std::uint32_t>(kAudioObjectSystemObject, kAudioHardwarePropertySpareDevice) != 0;
    }
    bool awaitReady() {
        return mainThread.runUntil([this] { return isReady(); });
    }
    bool isAlive(const Tap& tap) const {
        return readOne<std::uint32_t>(tap.device, kAudioDevicePropertyDeviceIsAlive) != 0;
    }
};

TEST_F(PipeWireTapSpareTest, IsMadeWhenItIsWanted) {
    const auto changes = observe(kAudioObjectSystemObject, kAudioHardwarePropertySpareDevice);
    EXPECT_FALSE(isReady());
    want();
    ASSERT_TRUE(awaitReady());
    EXPECT_TRUE(mainThread.runUntil([&] { return *changes == 1; }));
    EXPECT_TRUE(waitUntilLinked(std::string(kSpareName) + "-output", "output-a"));
    want(0);
    EXPECT_FALSE(isReady());
    EXPECT_TRUE(
        graph.waitUntil([](const GraphState& state) { return state.nodeNamed(kSpareName) == nullptr; }));
}

TEST_F(PipeWireTapSpareTest, ADeviceIsAliveAtOnceAndTheNextPairFollows) {
    const auto player = play();
    want();
    ASSERT_TRUE(awaitReady());
    Tap tap = createTap("new");
    EXPECT_TRUE(isAlive(tap));
    EXPECT_FALSE(continuesPredecessor(tap));
    EXPECT_FALSE(isReady());
    start(tap);
    EXPECT_TRUE(waitUntilLinked("player", kSpareName));
    EXPECT_TRUE(mainThread.runUntil([&] { return callback.calls > 10; }));
    EXPECT_TRUE(graph.waitUntil([](const GraphState& state) {
        const GraphNode* capture = state.nodeNamed(kSpareName);
        return capture != nullptr && capture->property("node.description") == "EQ-by-QUORVIN-Tap-Player";
    })) << "mixers name the application";
    EXPECT_TRUE(awaitReady());
    EXPECT_TRUE(waitUntilLinked(std::string(kNextName) + "-output", "output-a"));
    destroyInBackground(tap);
    EXPECT_TRUE(waitUntilLinked("player", "output-a"));
}

TEST_F(PipeWireTapSpareTest, ADeviceOnAnotherOutputMovesThePair) {
    const auto player = play();
    want();
    ASSERT_TRUE(awaitReady());
    Tap tap = makeTap("chosen", "output-b", true);
    start(tap);
    EXPECT_TRUE(waitUntilLinked("player", kSpareName));
    EXPECT_TRUE(waitUntilLinked(std::string(kSpareName) + "-output", "output-b"));
    destroyInBackground(tap);
}

TEST_F(PipeWireTapSpareTest, FollowsTheDefaultOutputAndItsChannels) {
    want();
    ASSERT_TRUE(awaitReady());
    graph.chooseDefaultOutput("output-b");
    EXPECT_TRUE(waitUntilLinked(std::string(kSpareName) + "-output", "output-b"));
    graph.createOutput("output-mono", "Mono", "MONO");
    graph.chooseDefaultOutput("output-mono");
    const auto isMono = [](const GraphState& state) {
        const auto links = std::ranges::count_if(state.links, [&](const auto& entry) {
            const auto from = state.nodes.find(entry.second.outputNode);
            return from != state.nodes.end() && from->second.name().ends_with("-output");
        });
        return links == 1;
    };
    EXPECT_TRUE(graph.waitUntil(isMono));
}

TEST_F(PipeWireTapSpareTest, ADeviceWithOtherChannelsHasItsOwnPair) {
    graph.createOutput("output-mono", "Mono", "MONO");
    ASSERT_TRUE(mainThread.runUntil([&] { return devices().size() == 3; }));
    const auto player = play();
    want();
    ASSERT_TRUE(awaitReady());
    Tap tap = makeTap("mono", "output-mono", true);
    EXPECT_TRUE(isReady()) << "it was not taken";
    start(tap);
    EXPECT_TRUE(waitUntilLinked("player", kCaptureName));
    destroyInBackground(tap);
}

TEST_F(PipeWireTapSpareTest, IsNotRunWhileOthersPlayToItsOutput) {
    const auto player = play();
    want();
    ASSERT_TRUE(awaitReady());
    EXPECT_TRUE(graph.waitUntil([](const GraphState& state) {
        return state.nodeNamed("output-a")->state == "running" && !isNodeRunning(state, kSpareName);
    }));
}

TEST_F(PipeWireTapSpareTest, ADeviceWithoutStreamsIsNotRunUntilTheNextStream) {
    auto player = play();
    Tap tap = makeTap("old");
    start(tap);
    ASSERT_TRUE(waitUntilLinked("player", kCaptureName));
    const auto other =
        startPlayer(audio, session::PlayerKind::native, {.name = "other", .signal = "counter"});
    ASSERT_TRUE(waitUntilLinked("other", "output-a"));
    player.reset();
    EXPECT_TRUE(graph.waitUntil([](const GraphState& state) {
        return state.nodeNamed("output-a")->state == "running" && !isNodeRunning(state, kCaptureName);
    }));
    ASSERT_TRUE(mainThread.runUntil([this] { return processes().size() == 1; }));
    Tap next = makeTap("new", "output-a", false, tap.device);
    EXPECT_TRUE(continuesPredecessor(next));
    CountingCallback later;
    start(next, later);
    EXPECT_TRUE(waitUntilLinked("other", kCaptureName));
    EXPECT_TRUE(mainThread.runUntil([&] { return later.calls > 10; }));
    destroyInBackground(tap);
    destroyInBackground(next);
}

TEST_F(PipeWireTapSpareTest, IsMadeAgainAfterALostConnection) {
    want();
    ASSERT_TRUE(awaitReady());
    audio.killServers();
    ASSERT_TRUE(mainThread.runUntil([this] { return !isReady(); }));
    audio.startServers();
    EXPECT_TRUE(awaitReady());
}

TEST_F(PipeWireTapSpareTest, IsSwitchedWithANumberAlone) {
    const AudioObjectPropertyAddress address{
        kAudioHardwarePropertySpareDevice, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain};
    const std::uint8_t tooShort = 1;
    EXPECT_EQ(hardware.setPropertyData(kAudioObjectSystemObject, address, sizeof tooShort, &tooShort),
              kAudioHardwareBadPropertySizeError);
    const std::uint32_t value = 1;
    EXPECT_EQ(hardware.setPropertyData(kAudioObjectSystemObject,
                                       {kAudioHardwarePropertyDefaultOutputDevice,
                                        kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain},
                                       sizeof value, &value),
              kAudioHardwareUnknownPropertyError);
}

} // namespace
} // namespace vello
