// SPDX-License-Identifier: Apache-2.0
// Streams that VELLO leaves untouched, because their application, or the program or user that linked them,
// decides where they play.
#include "VelloTest.h"

namespace vello::session {
namespace {

/// Two outputs. The stream under test plays on the first. On the second plays an application that proves, by
/// being equalized, that VELLO has processed all streams.
class VelloAndRights : public VelloTest {
protected:
    void openSession(SessionOptions options = {}) {
        VelloTest::openSession(std::move(options));
        writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
        play({.name = "witness", .applicationID = "org.example.witness", .output = "output-b"});
    }
    [[nodiscard]] bool awaitVello() { return awaitTapped("witness") && awaitWay("output-b", Way::tapped); }
    bool isLeftAlone(const std::string& stream, const std::string& output) {
        return session::isLeftAlone(graph().state(), stream, output);
    }
};

class VelloAndAFixedStream : public VelloAndRights, public testing::WithParamInterface<const char*> {
protected:
    void SetUp() override { openSession(); }
    std::string mark() const { return std::string(GetParam()) + "=true"; }
};

TEST_P(VelloAndAFixedStream, HearsItDirectlyAndUntouched) {
    play({.name = "fixed", .applicationID = "org.example.fixed", .properties = {mark()}});
    ASSERT_TRUE(awaitWay("output-a", Way::direct));
    startVello();
    ASSERT_TRUE(awaitVello());
    EXPECT_TRUE(isLeftAlone("fixed", "output-a"));
    EXPECT_TRUE(awaitWay("output-a", Way::direct));
    stopVello();
    ASSERT_TRUE(awaitWay("output-b", Way::direct));
    EXPECT_TRUE(isLeftAlone("fixed", "output-a"));
    EXPECT_TRUE(awaitWay("output-a", Way::direct));
}

TEST_P(VelloAndAFixedStream, LeavesTheSecondStreamOfATappedApplication) {
    play({.name = "player", .applicationID = "org.example.both", .signal = "constant=0.5"});
    startVello();
    ASSERT_TRUE(awaitTapped("player"));
    play({.name = "fixed",
          .applicationID = "org.example.both",
          .signal = "constant=0.125",
          .properties = {mark()}});
    // A stream that appears later is also processed later.
    play({.name = "late", .applicationID = "org.example.late", .output = "output-b"});
    ASSERT_TRUE(awaitTapped("late"));
    const auto sumIs = [](float sum) {
        return [sum](const Recording& last) { return last.sample(last.frames() - 1, 0) == sum; };
    };
    EXPECT_TRUE(monitor("output-a").recordUntil(sumIs(0.25F + 0.125F), 4096, 8s));
    EXPECT_TRUE(isLeftAlone("fixed", "output-a"));
    EXPECT_TRUE(isTapped(graph().state(), "player"));
    stopVello();
    EXPECT_TRUE(monitor("output-a").recordUntil(sumIs(0.5F + 0.125F), 4096, 8s));
}

TEST_P(VelloAndAFixedStream, LeavesTheSecondStreamOfATappedClient) {
    auto& player = play({.name = "player", .applicationID = "org.example.player", .signal = "constant=0.25"});
    startVello();
    ASSERT_TRUE(awaitTapped("player"));
    player.writeLine("open " + mark());
    const auto sumIs = [](float sum) {
        return [sum](const Recording& last) { return last.sample(last.frames() - 1, 0) == sum; };
    };
    EXPECT_TRUE(monitor("output-a").recordUntil(sumIs(0.125F + 0.25F), 4096, 8s));
    EXPECT_TRUE(isLeftAlone("player-2", "output-a"));
    stopVello();
    EXPECT_TRUE(monitor("output-a").recordUntil(sumIs(0.5F), 4096, 8s));
}

TEST_P(VelloAndAFixedStream, LeavesItAlsoWhenItLosesTheMark) {
    // The session manager has read the property and keeps the stream where it is.
    auto& player = play({.name = "fixed", .applicationID = "org.example.fixed", .properties = {mark()}});
    startVello();
    ASSERT_TRUE(awaitVello());
    player.writeLine("set " + std::string(GetParam()) + "=false");
    ASSERT_TRUE(graph().waitUntil(
        [](const GraphState& state) { return state.nodeNamed("fixed")->property(GetParam()) == "false"; }));
    endPlayer("witness");
    play({.name = "witness", .applicationID = "org.example.witness", .output = "output-b"});
    ASSERT_TRUE(awaitVello());
    EXPECT_TRUE(isLeftAlone("fixed", "output-a"));
    EXPECT_TRUE(awaitWay("output-a", Way::direct));
}

INSTANTIATE_TEST_SUITE_P(, VelloAndAFixedStream, testing::Values("node.dont-reconnect", "node.dont-move"),
                         [](const auto& mark) {
                             return mark.param == std::string("node.dont-move") ? "dontMove"
                                                                                : "dontReconnect";
                         });

TEST_F(VelloAndRights, LeavesAStreamThatAPatchbayConnected) {
    openSession();
    play({.name = "patched", .properties = {"node.autoconnect=false"}});
    connectByHand("patched", "output-a");
    ASSERT_TRUE(awaitWay("output-a", Way::direct));
    startVello();
    ASSERT_TRUE(awaitVello());
    EXPECT_TRUE(isLeftAlone("patched", "output-a"));
    EXPECT_TRUE(awaitWay("output-a", Way::direct));
    stopVello();
    ASSERT_TRUE(awaitWay("output-b", Way::direct));
    EXPECT_TRUE(isLeftAlone("patched", "output-a"));
    EXPECT_TRUE(awaitWay("output-a", Way::direct));
}

TEST_F(VelloAndRights, LeavesAStreamThatHasTheDeviceForItself) {
    openSession();
    play({.name = "exclusive", .properties = {"node.exclusive=true"}});
    const auto isAlone = [&](const GraphState& state) { return state.isLinked("exclusive", "output-a"); };
    ASSERT_TRUE(graph().waitUntil(isAlone));
    startVello();
    ASSERT_TRUE(awaitVello());
    EXPECT_TRUE(isLeftAlone("exclusive", "output-a"));
    stopVello();
    ASSERT_TRUE(awaitWay("output-b", Way::direct));
    EXPECT_TRUE(isLeftAlone("exclusive", "output-a"));
}

TEST_F(VelloAndRights, LeavesAClientOfTheJackKind) {
    openSession();
    play({.name = "jack"}, PlayerKind::jack);
    connectByHand("jack", "output-a");
    ASSERT_TRUE(awaitWay("output-a", Way::direct));
    startVello();
    ASSERT_TRUE(awaitVello());
    EXPECT_TRUE(isLeftAlone("jack", "output-a"));
    EXPECT_TRUE(awaitWay("output-a", Way::direct));
    stopVello();
    EXPECT_TRUE(awaitWay("output-a", Way::direct));
    EXPECT_TRUE(isLeftAlone("jack", "output-a"));
}

TEST_F(VelloAndRights, TakesASurroundStreamWhenItsDeviceBecomesAStereoOne) {
    openSession({.outputs = {{"surround", "Surround", 6}, {"output-b", "Output B"}}});
    play({.name = "film", .applicationID = "org.example.film", .channels = 6});
    startVello();
    ASSERT_TRUE(awaitVello());
    ASSERT_TRUE(isLeftAlone("film", "surround"));
    graph().chooseDefaultOutput("output-b");
    EXPECT_TRUE(awaitTapped("film"));
    graph().chooseDefaultOutput("surround");
    EXPECT_TRUE(graph().waitUntil([](const GraphState& state) {
        return destinations(state, "film") == std::vector<std::string>{"surround"};
    }));
}

} // namespace
} // namespace vello::session
