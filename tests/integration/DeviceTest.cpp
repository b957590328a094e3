// SPDX-License-Identifier: Apache-2.0
// Applications with streams on several outputs or that switch between outputs themselves, and outputs of
// other kinds.
#include "VelloTest.h"

namespace vello::session {
namespace {

class VelloAndDevices : public VelloTest {
protected:
    void openSession(const SourceSettings& player = {.volume = 0.5}, SessionOptions options = {}) {
        VelloTest::openSession(std::move(options));
        writeSettings(session(), {{"org.example.player", player}});
    }
    ChildProcess& playOn(const std::string& output) {
        return play({.name = "player", .applicationID = "org.example.player", .output = output});
    }
    [[nodiscard]] bool awaitLeftAlone(const std::string& stream, const std::string& output) {
        return graph().waitUntil([&](const GraphState& state) { return isLeftAlone(state, stream, output); });
    }
};

TEST_F(VelloAndDevices, LeavesASecondStreamOnTheOutputThatItWasSentTo) {
    openSession();
    auto& player = playOn("");
    startVello();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    player.writeLine("open target.object=output-b");
    ASSERT_TRUE(awaitLeftAlone("player-2", "output-b"));
    EXPECT_TRUE(awaitWay("output-b", Way::direct));
    EXPECT_TRUE(awaitWay("output-a", Way::tapped));
    EXPECT_TRUE(isLeftAlone(graph().state(), "player-2", "output-b"));
}

TEST_F(VelloAndDevices, PlaysWhatFollowsTheDefaultOutputThereWhenTheFirstStreamWasSentElsewhere) {
    openSession();
    auto& player = playOn("output-b");
    startVello();
    ASSERT_TRUE(awaitWay("output-b", Way::tapped));
    player.writeLine("open target.object=output-a");
    ASSERT_TRUE(awaitLeftAlone("player-2", "output-a"));
    EXPECT_TRUE(awaitWay("output-a", Way::direct));
    EXPECT_TRUE(awaitWay("output-b", Way::tapped));
}

TEST_F(VelloAndDevices, LeavesASecondStreamThatWasThereBefore) {
    openSession();
    auto& player = playOn("");
    ASSERT_TRUE(awaitWay("output-a", Way::direct));
    player.writeLine("open target.object=output-b");
    ASSERT_TRUE(awaitWay("output-b", Way::direct));
    startVello();
    EXPECT_TRUE(awaitWay("output-a", Way::tapped));
    EXPECT_TRUE(awaitWay("output-b", Way::direct));
    EXPECT_TRUE(isLeftAlone(graph().state(), "player-2", "output-b"));
}

TEST_F(VelloAndDevices, TakesTheOtherStreamOnItsOwnOutputWhenTheFirstOneEnds) {
    openSession();
    auto& player = playOn("");
    startVello();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    player.writeLine("open target.object=output-b");
    ASSERT_TRUE(awaitWay("output-b", Way::direct));
    player.writeLine("close-first");
    EXPECT_TRUE(awaitWay("output-b", Way::tapped));
    EXPECT_TRUE(awaitWay("output-a", Way::silent));
}

TEST_F(VelloAndDevices, LeavesTheOtherProcessOfAnApplicationOnTheOutputThatItWasSentTo) {
    openSession();
    playOn("");
    startVello();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    play({.name = "other", .applicationID = "org.example.player", .output = "output-b"});
    ASSERT_TRUE(vello().awaitOutput("Tap running for player", 2)) << "the tap is not rebuilt for both";
    EXPECT_TRUE(awaitWay("output-b", Way::direct));
    EXPECT_TRUE(awaitWay("output-a", Way::tapped));
    EXPECT_TRUE(isLeftAlone(graph().state(), "other", "output-b"));
}

TEST_F(VelloAndDevices, LetsASecondStreamGoThatTheUserMovesToAnotherOutput) {
    openSession();
    auto& player = playOn("");
    startVello();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    player.writeLine("open");
    ASSERT_TRUE(awaitTapped("player-2"));
    ASSERT_TRUE(graph().waitUntil(
        [](const GraphState& state) { return isTapped(state, "player-2") && isTapped(state, "player"); }));
    graph().moveStream(graph().state().nodeNamed("player-2")->id, "output-b");
    EXPECT_TRUE(awaitWay("output-b", Way::direct));
    EXPECT_TRUE(awaitWay("output-a", Way::tapped));
    graph().moveStream(graph().state().nodeNamed("player-2")->id, "output-a");
    EXPECT_TRUE(awaitTapped("player-2"));
    EXPECT_TRUE(awaitWay("output-b", Way::silent));
}

TEST_F(VelloAndDevices, PlaysAllStreamsOnTheOutputThatWasChosen) {
    openSession({.volume = 0.5, .output = "output-b"});
    auto& player = play({.name = "player", .applicationID = "org.example.player", .signal = "constant=0.5"});
    startVello();
    const auto isSum = [](float sum) {
        return [sum](const Recording& last) { return last.sample(last.frames() - 1, 0) == sum; };
    };
    ASSERT_TRUE(monitor("output-b").recordUntil(isSum(0.25F), 4096, 8s));
    player.writeLine("open target.object=output-a");
    EXPECT_TRUE(monitor("output-b").recordUntil(isSum(0.5F), 4096, 8s));
    EXPECT_TRUE(awaitWay("output-a", Way::silent));
    EXPECT_TRUE(isTapped(graph().state(), "player-2"));
}

TEST_F(VelloAndDevices, FollowsAnApplicationThatReopensItsStreamOnAnotherOutput) {
    openSession();
    auto& player = playOn("output-b");
    startVello();
    ASSERT_TRUE(awaitWay("output-b", Way::tapped));
    EXPECT_TRUE(awaitWay("output-a", Way::silent));
    player.writeLine("close\nopen target.object=output-a");
    // 2 s, plus the frames of the check.
    EXPECT_TRUE(awaitWay("output-a", Way::tapped, 2048, 2043ms));
    EXPECT_TRUE(awaitWay("output-b", Way::silent));
}

TEST_F(VelloAndDevices, FollowsAnApplicationThatOpensAnotherStreamBeforeItClosesTheFirst) {
    openSession();
    auto& player = playOn("output-b");
    startVello();
    ASSERT_TRUE(awaitWay("output-b", Way::tapped));
    EXPECT_TRUE(awaitWay("output-a", Way::silent));
    player.writeLine("open target.object=output-a\nclose-first");
    EXPECT_TRUE(awaitWay("output-a", Way::tapped, 2048, 2043ms));
    EXPECT_TRUE(awaitWay("output-b", Way::silent));
}

TEST_F(VelloAndDevices, EqualizesOnAnOutputThatIsAnInputToo) {
    openSession({.volume = 0.5},
                {.outputs = {{.name = "output-a", .description = "Output A", .mediaClass = "Audio/Duplex"},
                             {"output-b", "Output B"}}});
    playOn("");
    ASSERT_TRUE(awaitWay("output-a", Way::direct));
    startVello();
    EXPECT_TRUE(awaitWay("output-a", Way::tapped));
}

} // namespace
} // namespace vello::session
