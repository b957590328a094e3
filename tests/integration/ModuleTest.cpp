// SPDX-License-Identifier: Apache-2.0
// Modules of the audio system between an application and its output, and recorders: VELLO leaves them
// untouched, and nothing is equalized twice.
#include "DesignedResponse.h"
#include "VelloTest.h"

#include <memory>

namespace vello::session {
namespace {

constexpr double kTestFrequency = 1000; // Hz
constexpr double kPlayedAmplitude = 0.25;

class VelloAndModules : public VelloTest {
protected:
    void SetUp() override {
        openSession();
        writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    }

    /// A virtual output that plays its input on `output`.
    void loadLoopback(const std::string& output) {
        loadModule("loopback", "node.description = Virtual\n"
                               "capture.props = { node.name = virtual media.class = Audio/Sink\n"
                               "    audio.position = [ FL FR ] }\n"
                               "playback.props = { node.name = virtual-output audio.position = [ FL FR ]\n"
                               "    target.object = " +
                                   output + " }");
        ASSERT_TRUE(awaitLinked("virtual-output", output));
    }
    [[nodiscard]] bool awaitLinked(const std::string& from, const std::string& to) {
        return graph().waitUntil([&](const GraphState& state) { return state.isLinked(from, to); });
    }
    /// Amplitude of the test's tone in the left channel during one second.
    double amplitude(const std::string& output) {
        const auto start = monitor(output).frames();
        monitor(output).record(48000);
        return monitor(output).recording(start).amplitude(kTestFrequency, 0, 48000, 0);
    }
    static std::string tone() {
        return "sines=" + std::to_string(kTestFrequency) + "@" + std::to_string(kPlayedAmplitude);
    }

private:
};

TEST_F(VelloAndModules, EqualizesOnceWhatPlaysIntoALoopback) {
    loadLoopback("output-a");
    play({.name = "player", .applicationID = "org.example.player", .output = "virtual"});
    ASSERT_TRUE(awaitWay("output-a", Way::direct));
    startVello();
    EXPECT_TRUE(awaitTapped("player"));
    EXPECT_TRUE(awaitWay("output-a", Way::tapped));
    EXPECT_TRUE(isLeftAlone(graph().state(), "virtual-output", "output-a"));
    stopVello();
    EXPECT_TRUE(awaitWay("output-a", Way::direct));
    EXPECT_TRUE(isLeftAlone(graph().state(), "virtual-output", "output-a"));
}

TEST_F(VelloAndModules, EqualizesOnceWhatPlaysIntoALoopbackThatIsTheDefaultOutput) {
    loadLoopback("output-b");
    graph().chooseDefaultOutput("virtual");
    play({.name = "player", .applicationID = "org.example.player"});
    ASSERT_TRUE(awaitWay("output-b", Way::direct));
    startVello();
    EXPECT_TRUE(awaitTapped("player"));
    EXPECT_TRUE(awaitWay("output-b", Way::tapped));
    EXPECT_TRUE(isLeftAlone(graph().state(), "virtual-output", "output-b"));
}

TEST_F(VelloAndModules, AppliesTheSystemsCurveOnceUnderAVirtualOutput) {
    std::array<double, 8> gains{};
    gains.fill(-6);
    writeSettings(session(), {{kSystemSource, {.bandGains = gains}}});
    loadLoopback("output-b");
    play({.name = "player", .applicationID = "org.example.player", .signal = tone(), .output = "virtual"});
    ASSERT_TRUE(awaitLinked("player", "virtual"));
    startVello();
    ASSERT_TRUE(awaitTapped("player"));
    amplitude("output-b");
    EXPECT_NEAR(decibels(amplitude("output-b") / kPlayedAmplitude),
                designedResponse(gains, kTestFrequency, 48000), 0.1);
}

TEST_F(VelloAndModules, EqualizesOnceWhatALoopbackOfThePulseAudioServerPassesOn) {
    session().run({"pactl", "load-module", "module-loopback", "source=output-b.monitor", "sink=output-a"});
    play({.name = "player", .applicationID = "org.example.player", .output = "output-b"});
    ASSERT_TRUE(awaitWay("output-a", Way::direct));
    startVello();
    EXPECT_TRUE(awaitTapped("player"));
    EXPECT_TRUE(awaitWay("output-b", Way::tapped));
    EXPECT_TRUE(awaitWay("output-a", Way::tapped));
    EXPECT_EQ(captures(graph().state()).size(), 1U);
}

TEST_F(VelloAndModules, LeavesAnotherEqualizerInTheChainAsItIs) {
    constexpr double otherGain = -6; // dB, at the test's frequency
    loadModule("filter-chain",
               "node.description = Equalizer\n"
               "filter.graph = { nodes = [ { type = builtin name = bell label = bq_peaking\n"
               "    control = { Freq = 1000.0 Q = 1.0 Gain = " +
                   std::to_string(otherGain) +
                   " } } ] }\n"
                   "audio.channels = 2 audio.position = [ FL FR ]\n"
                   "capture.props = { node.name = equalizer media.class = Audio/Sink }\n"
                   "playback.props = { node.name = equalizer-output target.object = output-a }");
    ASSERT_TRUE(awaitLinked("equalizer-output", "output-a"));
    graph().chooseDefaultOutput("equalizer");
    play({.name = "player", .applicationID = "org.example.player", .signal = tone()});
    ASSERT_TRUE(awaitLinked("player", "equalizer"));
    amplitude("output-a");
    ASSERT_NEAR(decibels(amplitude("output-a") / kPlayedAmplitude), otherGain, 0.1);
    startVello();
    ASSERT_TRUE(awaitTapped("player"));
    amplitude("output-a");
    EXPECT_NEAR(decibels(amplitude("output-a") / kPlayedAmplitude), otherGain + decibels(0.5), 0.1);
    EXPECT_TRUE(isLeftAlone(graph().state(), "equalizer-output", "output-a"));
}

TEST_F(VelloAndModules, LeavesEchoCancellingAsItIs) {
    loadModule("echo-cancel", "library.name = aec/libspa-aec-null\n"
                              "capture.props = { node.name = aec-capture stream.capture.sink = true\n"
                              "    target.object = output-b }\n"
                              "source.props = { node.name = aec-source }\n"
                              "sink.props = { node.name = aec-sink }\n"
                              "playback.props = { node.name = aec-playback target.object = output-a }");
    ASSERT_TRUE(awaitLinked("aec-playback", "output-a"));
    ASSERT_TRUE(awaitLinked("output-b", "aec-capture"));
    play({.name = "player", .applicationID = "org.example.player", .output = "aec-sink"});
    ASSERT_TRUE(awaitWay("output-a", Way::direct));
    startVello();
    EXPECT_TRUE(awaitTapped("player"));
    EXPECT_TRUE(awaitWay("output-a", Way::tapped));
    EXPECT_TRUE(isLeftAlone(graph().state(), "aec-playback", "output-a"));
    EXPECT_TRUE(graph().state().isLinked("output-b", "aec-capture"));
}

/// A recorder's command.
struct RecorderCommand {
    const char* name;
    std::vector<std::string> arguments;
};

class VelloAndRecorders : public VelloAndModules, public testing::WithParamInterface<RecorderCommand> {};

TEST_P(VelloAndRecorders, RecordWhatTheOutputPlaysAndStayWhereTheyAre) {
    play({.name = "player", .applicationID = "org.example.player"});
    ASSERT_TRUE(awaitWay("output-a", Way::direct));
    const auto recorder = session().start("recorder", GetParam().arguments);
    const auto linksOfRecorder = [](const GraphState& state) {
        std::vector<std::uint32_t> links;
        const auto* node = state.nodeNamed("recorder");
        for (const auto& [id, link] : state.links)
            if (node != nullptr && link.inputNode == node->id)
                links.push_back(id);
        return links;
    };
    ASSERT_TRUE(graph().waitUntil([&](const GraphState& state) {
        return state.isLinked("output-a", "recorder") && linksOfRecorder(state).size() == 2;
    }));
    const auto links = linksOfRecorder(graph().state());
    startVello();
    ASSERT_TRUE(awaitTapped("player"));
    EXPECT_TRUE(awaitWay("output-a", Way::tapped));
    EXPECT_EQ(linksOfRecorder(graph().state()), links);
    EXPECT_FALSE(isTouched(graph().state(), "recorder"));
    stopVello();
    EXPECT_TRUE(awaitWay("output-a", Way::direct));
    EXPECT_EQ(linksOfRecorder(graph().state()), links);
}

INSTANTIATE_TEST_SUITE_P(
    , VelloAndRecorders,
    testing::Values(RecorderCommand{"native",
                                    {"pw-record", "--target=output-a",
                                     "--properties={ node.name = recorder stream.capture.sink = true }",
                                     "/dev/null"}},
                    RecorderCommand{"pulseAudio",
                                    {"parec", "--device=output-a.monitor", "--client-name=recorder",
                                     "--stream-name=recorder", "--raw", "/dev/null"}}),
    [](const auto& command) { return command.param.name; });

} // namespace
} // namespace vello::session
