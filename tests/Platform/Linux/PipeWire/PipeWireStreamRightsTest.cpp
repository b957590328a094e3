// SPDX-License-Identifier: Apache-2.0
// Which streams the adapter lists as exempt, with the reason and their owner.
#include "PipeWireAudioHardwareFixture.h"

namespace vello {
namespace {

using namespace std::chrono_literals;
using session::PlayerKind;
using session::PlayerOptions;

constexpr char kSandboxedApplication[] = "org.example.Sandboxed";

class PipeWireStreamRightsTest : public PipeWireAudioHardwareTest {
protected:
    std::vector<AudioObjectID> exemptStreams() const {
        return read<AudioObjectID>(kAudioObjectSystemObject, kAudioHardwarePropertyExemptStreamList);
    }
    /// The reason of the only exempt stream; none while there is no such stream.
    StreamExemption reason() const {
        const auto streams = exemptStreams();
        return streams.size() == 1 ? readOne<StreamExemption>(streams.front(), kAudioStreamPropertyExemption)
                                   : StreamExemption::none;
    }
    bool awaitReason(StreamExemption expected) {
        return mainThread.runUntil([&] { return reason() == expected; });
    }
    std::unique_ptr<session::ChildProcess> start(const PlayerOptions& options,
                                                 PlayerKind kind = PlayerKind::native) {
        return startPlayer(audio, kind, options);
    }
};

struct MarkedStream {
    const char* name;
    StreamExemption reason;
    PlayerOptions options;
};

class PipeWireMarkedStreamTest : public PipeWireStreamRightsTest,
                                 public testing::WithParamInterface<MarkedStream> {};

TEST_P(PipeWireMarkedStreamTest, IsListedWithTheReasonAndItsProcessIsNot) {
    const auto changes = observe(kAudioObjectSystemObject, kAudioHardwarePropertyExemptStreamList);
    const auto player = start(GetParam().options);
    ASSERT_TRUE(awaitReason(GetParam().reason)) << player->output();
    const AudioObjectID stream = exemptStreams().front();
    EXPECT_EQ(readText(stream, kAudioObjectPropertyName), "player");
    EXPECT_EQ(readOne<std::int32_t>(stream, kAudioProcessPropertyPID), player->pid());
    EXPECT_TRUE(processes().empty());
    EXPECT_TRUE(mainThread.runUntil([&] { return *changes > 0; }));
    *changes = 0;
    player->kill();
    EXPECT_TRUE(mainThread.runUntil([&] { return *changes > 0 && exemptStreams().empty(); }));
}

INSTANTIATE_TEST_SUITE_P(
    , PipeWireMarkedStreamTest,
    testing::Values(MarkedStream{"dontReconnect",
                                 StreamExemption::fixed,
                                 {.name = "player", .properties = {"node.dont-reconnect=true"}}},
                    MarkedStream{"dontMove",
                                 StreamExemption::fixed,
                                 {.name = "player", .properties = {"node.dont-move=1"}}},
                    MarkedStream{"module",
                                 StreamExemption::module,
                                 {.name = "player", .properties = {"node.link-group=filter-1"}}},
                    MarkedStream{"unmanaged",
                                 StreamExemption::unmanaged,
                                 {.name = "player", .properties = {"node.autoconnect=false"}}},
                    MarkedStream{"encoded", StreamExemption::encoded, {.name = "player", .isEncoded = true}},
                    MarkedStream{"exclusive",
                                 StreamExemption::exclusive,
                                 {.name = "player", .properties = {"node.exclusive=true"}}}),
    [](const auto& marked) { return marked.param.name; });

TEST_F(PipeWireStreamRightsTest, AStreamOnAnotherDeviceThanItsApplicationsTapIsListedUntilItComesBack) {
    const auto player = play();
    Tap tap = makeTap("one");
    PipeWireAudioHardwareTest::start(tap);
    ASSERT_TRUE(waitUntilLinked("player", kCaptureName));
    player->writeLine("open target.object=output-b");
    ASSERT_TRUE(awaitReason(StreamExemption::pinnedElsewhere));
    const AudioObjectID stream = exemptStreams().front();
    EXPECT_EQ(readText(stream, kAudioObjectPropertyName), "player-2");
    EXPECT_THAT(devicesOf(stream), testing::ElementsAre("output-b"));
    ASSERT_TRUE(graph.waitUntil(
        [](const session::GraphState& state) { return state.nodeNamed("player-2") != nullptr; }));
    graph.moveStream(graph.state().nodeNamed("player-2")->id, "output-a");
    EXPECT_TRUE(mainThread.runUntil([&] { return exemptStreams().empty(); }));
    EXPECT_TRUE(waitUntilLinked("player-2", kCaptureName));
    destroyInBackground(tap);
}

TEST_F(PipeWireStreamRightsTest, ASandboxedPulseAudioClientIsWhoThePortalSaysAndNotWhoItSays) {
    const auto player =
        start({.name = "player",
               .signal = "counter",
               .properties = {"application.process.id=1", "application.id=org.example.Other",
                              std::string("pipewire.access.portal.app_id=") + kSandboxedApplication}},
              PlayerKind::pulseAudio);
    ASSERT_TRUE(mainThread.runUntil([&] { return processes().size() == 1; })) << player->output();
    EXPECT_EQ(readOne<std::int32_t>(processes().front(), kAudioProcessPropertyPID), 0);
    EXPECT_EQ(readText(processes().front(), kAudioProcessPropertyBundleID), kSandboxedApplication);
}

TEST_F(PipeWireStreamRightsTest, APulseAudioClientOutsideOfASandboxIsWhoItSays) {
    const auto player =
        start({.name = "player",
               .signal = "counter",
               .properties = {"application.process.id=1", "application.id=org.example.Other"}},
              PlayerKind::pulseAudio);
    ASSERT_TRUE(mainThread.runUntil([&] { return processes().size() == 1; })) << player->output();
    EXPECT_EQ(readOne<std::int32_t>(processes().front(), kAudioProcessPropertyPID), 1);
    EXPECT_EQ(readText(processes().front(), kAudioProcessPropertyBundleID), "org.example.Other");
}

} // namespace
} // namespace vello
