// SPDX-License-Identifier: Apache-2.0
// A new device takes over the nodes of the device that it replaces.
#include "PipeWireAudioHardwareFixture.h"

namespace vello {
namespace {

using namespace std::chrono_literals;
using session::GraphState;

std::ptrdiff_t ownNodes(const GraphState& state) {
    return std::ranges::count_if(
        state.nodes, [](const auto& entry) { return entry.second.name().starts_with("EQ-by-QUORVIN-Tap-"); });
}

class PipeWireTapSuccessionTest : public PipeWireAudioHardwareTest {
protected:
    void playIntoATap() {
        player = play();
        old = makeTap("old");
        start(old);
        ASSERT_TRUE(waitUntilLinked("player", kCaptureName));
        ASSERT_TRUE(mainThread.runUntil([&] { return callback.calls > 10; }));
        captureID = graph.state().nodeNamed(kCaptureName)->id;
    }
    bool isOnSameNodes() {
        const GraphState state = graph.state();
        const auto* capture = state.nodeNamed(kCaptureName);
        return capture != nullptr && capture->id == captureID && ownNodes(state) == 2;
    }

    std::unique_ptr<session::ChildProcess> player;
    Tap old;
    std::uint32_t captureID = 0;
    CountingCallback later;
};

TEST_F(PipeWireTapSuccessionTest, TheNewCallbackFollowsTheOldOneOnTheSameNodes) {
    playIntoATap();
    Tap fresh = makeTap("new", "output-a", false, old.device);
    EXPECT_TRUE(continuesPredecessor(fresh));
    const int calls = callback.calls;
    ASSERT_TRUE(mainThread.runUntil([&] { return callback.calls > calls + 10; })) << "it ends too early";
    start(fresh, later);
    const int last = callback.calls;
    destroyInBackground(old);
    ASSERT_TRUE(mainThread.runUntil([&] { return later.calls > 10; }));
    EXPECT_EQ(callback.calls, last);
    EXPECT_TRUE(isOnSameNodes());
    destroyInBackground(fresh);
    EXPECT_TRUE(waitUntilLinked("player", "output-a"));
    EXPECT_TRUE(graph.waitUntil([](const GraphState& state) { return ownNodes(state) == 0; }));
}

TEST_F(PipeWireTapSuccessionTest, TheOldDeviceWaitsForTheNewOneToStart) {
    playIntoATap();
    Tap fresh = makeTap("new", "output-a", false, old.device);
    std::atomic<bool> isGone = false;
    std::thread queue([&] {
        destroy(old);
        isGone = true;
    });
    const int calls = callback.calls;
    EXPECT_TRUE(mainThread.runUntil([&] { return callback.calls > calls + 20; }));
    EXPECT_FALSE(isGone);
    start(fresh, later);
    EXPECT_TRUE(mainThread.runUntil([&] { return isGone.load(); }));
    queue.join();
    EXPECT_TRUE(isOnSameNodes());
    destroyInBackground(fresh);
}

TEST_F(PipeWireTapSuccessionTest, TheOldDeviceWaitsForABusyMainThread) {
    playIntoATap();
    std::atomic<bool> isGone = false;
    std::thread queue([&] {
        destroy(old);
        isGone = true;
    });
    // Meanwhile the main thread does nothing.
    const auto isReleased = [](const GraphState& state) { return state.isLinked("player", "output-a"); };
    EXPECT_FALSE(graph.waitUntil(isReleased, 500ms));
    EXPECT_FALSE(isGone);
    Tap fresh = makeTap("new", "output-a", false, old.device);
    EXPECT_TRUE(continuesPredecessor(fresh));
    start(fresh, later);
    EXPECT_TRUE(mainThread.runUntil([&] { return isGone.load(); }));
    queue.join();
    EXPECT_TRUE(isOnSameNodes());
    destroyInBackground(fresh);
}

TEST_F(PipeWireTapSuccessionTest, AnotherOutputMovesTheNodes) {
    playIntoATap();
    const std::string playback = std::string(kCaptureName) + "-output";
    Tap chosen = makeTap("chosen", "output-b", true, old.device);
    start(chosen, later);
    destroyInBackground(old);
    EXPECT_TRUE(waitUntilLinked(playback, "output-b"));
    EXPECT_TRUE(isOnSameNodes());
    Tap automatic = makeTap("automatic", "output-a", false, chosen.device);
    start(automatic, callback);
    destroyInBackground(chosen);
    EXPECT_TRUE(waitUntilLinked(playback, "output-a"));
    EXPECT_TRUE(isOnSameNodes());
    // It follows the default output again.
    graph.chooseDefaultOutput("output-b");
    EXPECT_TRUE(waitUntilLinked(playback, "output-b"));
    destroyInBackground(automatic);
}

TEST_F(PipeWireTapSuccessionTest, ADeviceThatIsNeverStartedEndsTheOldCallbackToo) {
    playIntoATap();
    const Tap fresh = makeTap("new", "output-a", false, old.device);
    std::atomic<bool> isGone = false;
    std::thread queue([&] {
        destroy(old);
        isGone = true;
    });
    EXPECT_EQ(hardware.destroyAggregateDevice(fresh.device), 0);
    EXPECT_EQ(hardware.destroyProcessTap(fresh.tap), 0);
    EXPECT_TRUE(mainThread.runUntil([&] { return isGone.load(); }));
    queue.join();
    const int calls = callback.calls;
    EXPECT_TRUE(waitUntilLinked("player", "output-a"));
    EXPECT_TRUE(graph.waitUntil([](const GraphState& state) { return ownNodes(state) == 0; }));
    EXPECT_EQ(callback.calls, calls);
}

TEST_F(PipeWireTapSuccessionTest, ADeviceThatStaysUnstartedFallsSilentWhenItsPredecessorGivesUpWaiting) {
    playIntoATap();
    const Tap fresh = makeTap("new", "output-a", false, old.device);
    destroyInBackground(old);
    const int calls = callback.calls;
    EXPECT_TRUE(isOnSameNodes());
    EXPECT_EQ(hardware.destroyAggregateDevice(fresh.device), 0);
    EXPECT_EQ(hardware.destroyProcessTap(fresh.tap), 0);
    EXPECT_TRUE(waitUntilLinked("player", "output-a"));
    EXPECT_EQ(callback.calls, calls);
}

TEST_F(PipeWireTapSuccessionTest, AnUnstartedPredecessorKeepsItsNodes) {
    player = play();
    old = makeTap("old");
    Tap fresh = makeTap("new", "output-a", false, old.device);
    EXPECT_FALSE(continuesPredecessor(fresh));
    start(fresh, later);
    EXPECT_TRUE(waitUntilLinked("player", "EQ-by-QUORVIN-Tap-Player.2"));
    destroyInBackground(fresh);
    EXPECT_EQ(hardware.destroyAggregateDevice(old.device), 0);
    EXPECT_EQ(hardware.destroyProcessTap(old.tap), 0);
}

TEST_F(PipeWireTapSuccessionTest, AProcessThatTheNewDeviceDoesNotCaptureIsReleased) {
    playIntoATap();
    const auto other =
        startPlayer(audio, session::PlayerKind::native, {.name = "other", .signal = "counter"});
    ASSERT_TRUE(
        mainThread.runUntil([&] { return processes().size() == 2 && isRunning(processes().back()); }));
    Tap fresh;
    ASSERT_EQ(hardware.createProcessTap({.processes = {processes().back()}, .uuid = "new"}, fresh.tap), 0);
    ASSERT_EQ(hardware.createAggregateDevice({.name = "EQ-by-QUORVIN-Tap-Player",
                                              .uid = "group-new",
                                              .mainSubDevice = "output-a",
                                              .taps = {{.uid = "new"}},
                                              .predecessor = old.device},
                                             fresh.device),
              0);
    EXPECT_TRUE(continuesPredecessor(fresh));
    start(fresh, later);
    destroyInBackground(old);
    EXPECT_TRUE(waitUntilLinked("other", kCaptureName));
    EXPECT_TRUE(waitUntilLinked("player", "output-a"));
    EXPECT_TRUE(isOnSameNodes());
    destroyInBackground(fresh);
}

} // namespace
} // namespace vello
