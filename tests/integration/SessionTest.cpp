// SPDX-License-Identifier: Apache-2.0
// Tests the measuring tools themselves with direct playback.
#include "AudioGraph.h"
#include "MonitorRecorder.h"
#include "Passage.h"
#include "Players.h"
#include "PrivateAudioSession.h"
#include "SignalCode.h"
#include "ToneMeter.h"

#include <cmath>
#include <csignal>

#include <gmock/gmock.h>

namespace vello::session {
namespace {

using namespace std::chrono_literals;

bool carriesNumbers(const Recording& recording) {
    for (std::size_t frame = 0; frame < recording.frames(); ++frame)
        if (!signalCode::decode(recording.sample(frame, 1)))
            return false;
    return true;
}

TEST(Session, ShowsItsOutputsAndNothingElse) {
    PrivateAudioSession session;
    AudioGraph graph(session.socket());
    EXPECT_EQ(graph.state().nodesOfClass("Audio/Sink").size(), 2U);
    EXPECT_TRUE(graph.state().nodesOfClass("Audio/Source").empty());
    EXPECT_EQ(graph.state().defaultOutput(), "output-a");
    EXPECT_THAT(session.run({"pactl", "list", "short", "sinks"}), testing::HasSubstr("output-b"));
}

TEST(Session, LeavesNothingBehind) {
    std::filesystem::path folder;
    pid_t server = 0;
    {
        PrivateAudioSession session;
        folder = session.folder();
        server = session.serverProcess();
        EXPECT_EQ(::kill(server, 0), 0);
    }
    EXPECT_FALSE(std::filesystem::exists(folder));
    EXPECT_NE(::kill(server, 0), 0);
}

/// Whether every frame is the one that was played a constant time before. A player that was not ready for a
/// cycle leaves silence there.
bool hasEveryFrame(const Recording& recording) {
    for (std::size_t frame = 0; frame < recording.frames(); frame += 17)
        if (!recording.delay(frame) || recording.delay(frame) != recording.delay(0))
            return false;
    return true;
}

/// Records a second, and another one while the graph or the player misses cycles by itself, as they do now
/// and then without realtime priority. Gives up after ten.
Recording secondWithEveryCycle(MonitorRecorder& recorder) {
    for (int second = 1;; ++second) {
        const auto start = recorder.frames();
        recorder.record(48000);
        auto recording = recorder.recording(start);
        if ((recording.lostFrames() == 0 && hasEveryFrame(recording)) || second == 10)
            return recording;
    }
}

class SessionQuantum : public testing::TestWithParam<int> {};

TEST_P(SessionQuantum, RecordsADirectPlayerWithoutALostFrame) {
    const auto quantum = static_cast<std::size_t>(GetParam());
    PrivateAudioSession session({.quantum = GetParam()});
    const auto player = startPlayer(session, PlayerKind::native, {.name = "p"});
    MonitorRecorder recorder(session.socket(), "output-a");
    ASSERT_TRUE(recorder.recordUntil(carriesNumbers, quantum, 5s)) << player->output();
    const auto recording = secondWithEveryCycle(recorder);
    ASSERT_FALSE(recording.cycles().empty());
    for (const auto& cycle : recording.cycles())
        EXPECT_EQ(cycle.frames, quantum);
    EXPECT_EQ(recording.lostFrames(), 0U);
    // The player fills its buffer exactly one cycle ahead.
    EXPECT_TRUE(hasEveryFrame(recording));
}

INSTANTIATE_TEST_SUITE_P(, SessionQuantum, testing::Values(256, 1024));

class SessionPlayer : public testing::TestWithParam<PlayerKind> {};

TEST_P(SessionPlayer, IsHeardExactlyOnItsOutput) {
    PrivateAudioSession session;
    const auto player =
        startPlayer(session, GetParam(), {.name = "p", .signal = "counter", .output = "output-b"});
    MonitorRecorder recorder(session.socket(), "output-b");
    const auto counts = [](const Recording& last) {
        for (std::size_t frame = 1; frame < last.frames(); ++frame) {
            const auto previous = signalCode::decode(last.sample(frame - 1, 0));
            if (!previous || signalCode::decode(last.sample(frame, 0)) != *previous + 1)
                return false;
        }
        return true;
    };
    EXPECT_TRUE(recorder.recordUntil(counts, 4096, 5s))
        << player->output() << describe(AudioGraph(session.socket()).state());
}

INSTANTIATE_TEST_SUITE_P(, SessionPlayer,
                         testing::Values(PlayerKind::native, PlayerKind::pulseAudio, PlayerKind::alsa,
                                         PlayerKind::commandLine),
                         [](const auto& kind) { return name(kind.param); });

TEST(Session, SeesAStreamMovedByAMixer) {
    PrivateAudioSession session;
    const auto player = startPlayer(session, PlayerKind::native, {.name = "p"});
    AudioGraph graph(session.socket());
    ASSERT_TRUE(graph.waitUntil([](const GraphState& state) { return state.isLinked("p", "output-a"); }));
    graph.moveStream(graph.state().nodeNamed("p")->id, "output-b");
    EXPECT_TRUE(graph.waitUntil([](const GraphState& state) {
        return state.isLinked("p", "output-b") && !state.isLinked("p", "output-a");
    })) << describe(graph.state());
}

TEST(Session, MakesAndDestroysAnOutput) {
    PrivateAudioSession session;
    AudioGraph graph(session.socket());
    graph.createOutput("output-c", "Output C");
    const auto player = startPlayer(session, PlayerKind::native, {.name = "p", .output = "output-c"});
    EXPECT_TRUE(graph.waitUntil([](const GraphState& state) { return state.isLinked("p", "output-c"); }))
        << describe(graph.state());
    graph.destroyOutput("output-c");
    EXPECT_TRUE(graph.waitUntil([](const GraphState& state) { return state.isLinked("p", "output-a"); }))
        << describe(graph.state());
}

TEST(Session, FollowsTheChosenDefaultOutput) {
    PrivateAudioSession session;
    AudioGraph graph(session.socket());
    const auto player = startPlayer(session, PlayerKind::native, {.name = "p"});
    graph.chooseDefaultOutput("output-b");
    EXPECT_TRUE(graph.waitUntil([](const GraphState& state) {
        return state.defaultOutput() == "output-b" && state.isLinked("p", "output-b");
    })) << describe(graph.state());
}

TEST(Session, ChangesTheRateOfTheGraph) {
    PrivateAudioSession session({.allowedRates = {44100, 48000}});
    AudioGraph graph(session.socket());
    MonitorRecorder recorder(session.socket(), "output-a");
    recorder.record(4096);
    EXPECT_EQ(recorder.recording().sampleRate(), 48000);
    graph.forceSampleRate(44100);
    EXPECT_TRUE(
        recorder.recordUntil([](const Recording& last) { return last.sampleRate() == 44100; }, 1024, 5s));
}

TEST(Session, ComesBackAfterItsServersWereKilled) {
    PrivateAudioSession session;
    AudioGraph before(session.socket());
    session.killServers();
    EXPECT_TRUE(before.waitUntil([](const GraphState& state) { return !state.isConnected; }));
    session.startServers();
    AudioGraph after(session.socket());
    EXPECT_EQ(after.state().defaultOutput(), "output-a");
}

TEST(Session, HearsSilenceInTheCyclesThatAPlayerMisses) {
    PrivateAudioSession session({.quantum = 256});
    const auto player = startPlayer(session, PlayerKind::native, {.name = "p"});
    MonitorRecorder recorder(session.socket(), "output-a");
    ASSERT_TRUE(recorder.recordUntil(carriesNumbers, 4096, 5s));
    player->signal(SIGSTOP);
    const auto isRecordedSilence = [](const Recording& last) {
        return endsWith(last, Way::silent, 4096) && last.lostFrames() == 0;
    };
    EXPECT_TRUE(recorder.recordUntil(isRecordedSilence, 4096, 5s));
    player->signal(SIGCONT);
    EXPECT_TRUE(recorder.recordUntil(carriesNumbers, 4096, 5s));
}

TEST(Session, TellsEightConstantPlayersApartInOneSum) {
    double sum = 0;
    for (int i = 0; i < constantCode::kApplications; ++i)
        sum += constantCode::emitted(i) * (i % 3) / 2.0;
    for (int i = 0; i < constantCode::kApplications; ++i)
        EXPECT_EQ(constantCode::digit(static_cast<float>(sum), i), i % 3) << i;
}

TEST(Session, MeasuresTheLevelOfASine) {
    PrivateAudioSession session;
    const auto player =
        startPlayer(session, PlayerKind::native, {.name = "p", .signal = "sines=1000,4000@0.125"});
    MonitorRecorder recorder(session.socket(), "output-a");
    ASSERT_TRUE(recorder.recordUntil([](const Recording& last) { return last.sample(0, 0) != 0; }, 1024, 5s));
    const auto start = recorder.frames() + 4096;
    recorder.record(4096 + 48000);
    const auto recording = recorder.recording(start);
    EXPECT_NEAR(recording.amplitude(1000, 0, 24000, 0), 0.125, 1e-5);
    EXPECT_NEAR(recording.amplitude(4000, 0, 24000, 1), 0.125, 1e-5);
    EXPECT_LT(recording.amplitude(2000, 0, 24000, 0), 1e-6);
}

class SessionFormat : public testing::TestWithParam<SampleFormat> {};

TEST_P(SessionFormat, CarriesEachOfEightChannelsToItsOwn) {
    PrivateAudioSession session({.outputs = {{"wide", "Wide", 8}}});
    const auto player = startPlayer(session, PlayerKind::native,
                                    {.name = "p",
                                     .signal = "tones=50,430,830,1630,2430,3830,5630,8030@0.1",
                                     .channels = 8,
                                     .format = GetParam()});
    MonitorRecorder recorder(session.socket(), "wide", 10s, true, 8);
    const ToneMeter meter({50, 430, 830, 1630, 2430, 3830, 5630, 8030}, 48000, 4800);
    const auto eachHasItsOwn = [&](const Recording& last) {
        const auto levels = meter.measure(last);
        for (std::size_t tone = 0; tone < levels.size(); ++tone)
            for (std::size_t channel = 0; channel < levels.size(); ++channel)
                if (tone == channel ? std::abs(levels[tone][channel] + 20) > 0.01
                                    : levels[tone][channel] > -100)
                    return false;
        return true;
    };
    EXPECT_TRUE(recorder.recordUntil(eachHasItsOwn, meter.frames(), 5s)) << player->output();
}

INSTANTIATE_TEST_SUITE_P(, SessionFormat,
                         testing::Values(SampleFormat::f32, SampleFormat::s16, SampleFormat::s24),
                         [](const auto& format) { return name(format.param); });

} // namespace
} // namespace vello::session
