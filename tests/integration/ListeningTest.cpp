// SPDX-License-Identifier: Apache-2.0
// What users hear of an equalized application: delay and silence; and which applications are listed.
#include "VelloTest.h"

#include <algorithm>

namespace vello::session {
namespace {

constexpr int kEngagements = 10;

class VelloAtQuantum : public VelloTest, public testing::WithParamInterface<int> {
protected:
    VelloAtQuantum() { openSession({.quantum = GetParam()}); }
    std::size_t cycle() const { return static_cast<std::size_t>(GetParam()); }
    std::optional<std::int64_t> lastDelay() {
        return monitor("output-a").recording(monitor("output-a").frames() - cycle()).delay(0);
    }
};

TEST_P(VelloAtQuantum, AddsNoLatency) {
    constexpr int attempts = 5;
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    play({.name = "player", .applicationID = "org.example.player"});
    for (int attempt = 0; attempt < attempts; ++attempt) {
        ASSERT_TRUE(awaitWay("output-a", Way::direct));
        const auto before = lastDelay();
        startVello();
        ASSERT_TRUE(awaitWay("output-a", Way::tapped));
        const auto start = monitor("output-a").frames();
        monitor("output-a").record(48000);
        const auto tapped = monitor("output-a").recording(start);
        stopVello();
        ASSERT_TRUE(awaitWay("output-a", Way::direct));
        // On a busy machine a player may miss a cycle by itself and is one cycle late from then on. Its delay
        // then cannot be compared.
        if (lastDelay() != before)
            continue;
        ASSERT_TRUE(before.has_value());
        for (std::size_t frame = 0; frame < tapped.frames(); ++frame)
            ASSERT_EQ(tapped.delay(frame), before) << "at frame " << frame;
        return;
    }
    FAIL() << "the player's own delay did not hold still";
}

TEST_P(VelloAtQuantum, IsSilentForAtMostOneCycleWhenItEngagesAndReleases) {
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    play({.name = "player", .applicationID = "org.example.player"});
    std::vector<double> engaging;
    std::vector<double> releasing;
    for (int i = 0; i < kEngagements; ++i) {
        ASSERT_TRUE(awaitWay("output-a", Way::direct));
        const auto start = monitor("output-a").frames() - cycle();
        startVello();
        ASSERT_TRUE(awaitWay("output-a", Way::tapped));
        const auto middle = monitor("output-a").frames() - cycle();
        stopVello();
        ASSERT_TRUE(awaitWay("output-a", Way::direct));
        const auto engaged = findPassage(monitor("output-a").recording(start), Way::direct, Way::tapped);
        const auto released = findPassage(monitor("output-a").recording(middle), Way::tapped, Way::direct);
        ASSERT_TRUE(engaged && released);
        engaging.push_back(static_cast<double>(engaged->silentFrames + engaged->unknownFrames));
        releasing.push_back(static_cast<double>(released->silentFrames + released->unknownFrames));
    }
    RecordProperty("engageSilenceFrames", testing::PrintToString(engaging));
    RecordProperty("releaseSilenceFrames", testing::PrintToString(releasing));
    EXPECT_LE(median(engaging), GetParam()) << testing::PrintToString(engaging);
    EXPECT_LE(median(releasing), GetParam()) << testing::PrintToString(releasing);
}

INSTANTIATE_TEST_SUITE_P(, VelloAtQuantum, testing::Values(256, 1024), testing::PrintToStringParamName());

class VelloWithPlayer : public VelloTest, public testing::WithParamInterface<PlayerKind> {};

TEST_P(VelloWithPlayer, TapsAPlayerOfThisKind) {
    openSession();
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    startVello();
    play({.name = "player", .signal = "counter", .output = "output-b"}, GetParam());
    EXPECT_TRUE(awaitWay("output-b", Way::tapped));
}

INSTANTIATE_TEST_SUITE_P(, VelloWithPlayer,
                         testing::Values(PlayerKind::native, PlayerKind::pulseAudio, PlayerKind::alsa,
                                         PlayerKind::commandLine),
                         [](const auto& kind) { return name(kind.param); });

class Vello : public VelloTest {};

TEST_F(Vello, EqualizesOneApplicationAndLeavesTheOther) {
    openSession();
    writeSettings(session(), {{"org.example.one", {.volume = 0.5}}});
    play({.name = "one", .applicationID = "org.example.one", .signal = "constant=0.5"});
    play({.name = "two", .applicationID = "org.example.two", .signal = "constant=0.125"},
         PlayerKind::pulseAudio);
    startVello();
    ASSERT_TRUE(awaitTapped("one"));
    const auto isHalfAndWhole = [](const Recording& last) {
        return last.sample(last.frames() - 1, 0) == 0.375F;
    };
    EXPECT_TRUE(monitor("output-a").recordUntil(isHalfAndWhole, 1024, 8s));
}

TEST_F(Vello, PutsTwoPlayersOfOneApplicationIntoOneTap) {
    openSession();
    writeSettings(session(), {{"org.example.both", {.volume = 0.5}}});
    play({.name = "first", .applicationID = "org.example.both", .signal = "constant=0.5"});
    play({.name = "second", .applicationID = "org.example.both", .signal = "constant=0.125"},
         PlayerKind::pulseAudio);
    startVello();
    ASSERT_TRUE(awaitTapped("first"));
    ASSERT_TRUE(awaitTapped("second"));
    EXPECT_TRUE(graph().waitUntil([](const GraphState& state) {
        return captures(state).size() == 1 && destinations(state, "first") == destinations(state, "second");
    }));
    const auto isHalved = [](const Recording& last) { return last.sample(last.frames() - 1, 0) == 0.3125F; };
    EXPECT_TRUE(monitor("output-a").recordUntil(isHalved, 1024, 8s));
}

TEST_F(Vello, TakesAnApplicationsSecondStreamIntoItsTapAtOnce) {
    openSession();
    writeSettings(session(), {{"org.example.player", {.volume = 0.5}}});
    auto& player = play({.name = "player", .applicationID = "org.example.player", .signal = "constant=0.25"});
    startVello();
    ASSERT_TRUE(awaitTapped("player"));
    const auto sumIs = [](float sum) {
        return [sum](const Recording& last) { return last.sample(last.frames() - 1, 0) == sum; };
    };
    ASSERT_TRUE(monitor("output-a").recordUntil(sumIs(0.125F), 4096, 8s));
    ASSERT_TRUE(awaitSpare());
    const int madeBefore = capturesMade(graph());
    const auto start = monitor("output-a").frames();
    player.writeLine("open");
    ASSERT_TRUE(monitor("output-a").recordUntil(sumIs(0.25F), 4096, 8s));
    EXPECT_EQ(capturesMade(graph()), madeBefore);
    // One stream through the tap, the other one directly.
    const auto kindOf = [](float left, float) { return left == 0.125F + 0.25F ? 1 : 0; };
    std::size_t unequalized = 0;
    for (const auto& stretch : monitor("output-a").recording(start).stretches(kindOf))
        unequalized += stretch.kind == 1 ? stretch.frames : 0;
    RecordProperty("unequalizedFrames", static_cast<int>(unequalized));
    EXPECT_LE(unequalized, static_cast<std::size_t>(quantum()));
}

TEST_F(Vello, TakesBothChannelsOfAStreamThatComesToAMonoTap) {
    openSession();
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    auto& player = play({.name = "player", .applicationID = "org.example.player", .channels = 1});
    startVello();
    ASSERT_TRUE(awaitTapped("player"));
    const auto tappedChannels = [](const GraphState& state, const std::string& name) {
        const auto* stream = state.nodeNamed(name);
        return std::ranges::count_if(state.links, [&](const auto& link) {
            return stream != nullptr && link.second.outputNode == stream->id && isTapped(state, name);
        });
    };
    EXPECT_EQ(tappedChannels(graph().state(), "player"), 1);
    player.writeLine("open-stereo");
    EXPECT_TRUE(graph().waitUntil(
        [&](const GraphState& state) { return tappedChannels(state, "player-2") == 2; }, 8s));
}

TEST_F(Vello, ShowsNothingInTheListsOfOutputsAndInputs) {
    openSession();
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    play({.name = "player", .applicationID = "org.example.player"});
    startVello();
    ASSERT_TRUE(awaitTapped("player"));
    for (const auto& [id, node] : graph().state().nodes)
        EXPECT_TRUE(!isVellos(node) || node.mediaClass().ends_with("/Internal")) << node.name();
    for (const auto* list : {"sinks", "sources", "sink-inputs", "source-outputs"}) {
        const auto shown = session().run({"pactl", "list", list});
        EXPECT_THAT(shown, testing::Not(testing::HasSubstr("EQ-by-QUORVIN"))) << list;
        EXPECT_THAT(shown, testing::Not(testing::HasSubstr("VELLO"))) << list;
    }
}

} // namespace
} // namespace vello::session
