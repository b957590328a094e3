// SPDX-License-Identifier: Apache-2.0
// What users hear when VELLO is frozen.
#include "EightPlayersTest.h"
#include "HeldThread.h"

#include <cstdlib>
#include <iostream>

namespace vello::session {
namespace {

constexpr auto kDirectWithin = 4s;
constexpr auto kAgainWithin = 2s;

class VelloStands : public EightPlayersTest {
protected:
    /// How often VELLO has logged that it was frozen.
    int confessions() {
        const std::string said = vello().output();
        int count = 0;
        for (auto at = said.find("Was frozen"); at != std::string::npos; at = said.find("Was frozen", at + 1))
            ++count;
        return count;
    }
};

class VelloFreezes : public VelloStands {
protected:
    void SetUp() override {
        openSession();
        writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
        playEight();
        startVello();
        ASSERT_TRUE(awaitAll(tapped));
        awaitGuard();
    }
    void expectDirectSoon() {
        const auto moment = std::chrono::steady_clock::now();
        EXPECT_TRUE(awaitAll(direct, kDirectWithin));
        report("heard directly after", moment);
        EXPECT_EQ(wrongFramesSince(moment), 0U) << "heard on an output that is not the application's own";
    }
    void expectTappedSoon() {
        const auto moment = std::chrono::steady_clock::now();
        EXPECT_TRUE(awaitAll(tapped, kAgainWithin));
        report("heard with their settings after", moment);
    }

private:
    static void report(const char* what, std::chrono::steady_clock::time_point moment) {
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - moment;
        std::cout << what << " " << elapsed.count() << " s\n";
    }
};

TEST_F(VelloFreezes, AndItsApplicationsAreHeardAllTheSame) {
    vello().signal(SIGSTOP);
    expectDirectSoon();
    vello().signal(SIGCONT);
    expectTappedSoon();
    EXPECT_EQ(confessions(), 1);
    stopVello();
    EXPECT_TRUE(awaitAll(direct));
    expectNothingLeft();
}

TEST_F(VelloFreezes, AndIsKilledThen) {
    vello().signal(SIGSTOP);
    expectDirectSoon();
    vello().signal(SIGKILL);
    ASSERT_TRUE(vello().waitForExit(5s));
    expectNothingLeft();
    EXPECT_TRUE(awaitAll(direct));
}

TEST_F(VelloFreezes, InItsDataThreadAlone) {
    {
        const HeldThread held(dataThreadOf(vello().pid()));
        expectDirectSoon();
    }
    expectTappedSoon();
    EXPECT_EQ(confessions(), 1);
}

TEST_F(VelloFreezes, InItsMainThreadAlone) {
    {
        const HeldThread held(vello().pid());
        expectDirectSoon();
    }
    expectTappedSoon();
    EXPECT_EQ(confessions(), 1);
}

TEST_F(VelloFreezes, WithTheWholeSessionAndNobodyTakesItForDead) {
    signalAll(SIGSTOP);
    // Longer than the time after which VELLO counts as frozen.
    ASSERT_FALSE(vello().waitForExit(3s));
    signalAll(SIGCONT);
    ASSERT_TRUE(awaitAll(tapped));
    monitor("output-a").record(3 * 48000);
    EXPECT_TRUE(awaitAll(tapped));
    EXPECT_EQ(confessions(), 0);
}

/// How long the machine is kept busy: a few seconds, or the time set for a measurement.
std::chrono::seconds loadTime() {
    const char* const wanted = std::getenv("VELLO_LOAD_SECONDS");
    return std::chrono::seconds(wanted != nullptr ? std::atoi(wanted) : 4);
}

TEST_F(VelloStands, UnderLoadWithoutBeingTakenForFrozen) {
    openSession();
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    play({.name = "player", .applicationID = "org.example.player"});
    startVello();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    forgetMonitors();
    std::vector<std::unique_ptr<ChildProcess>> busy;
    while (busy.size() < 20)
        busy.push_back(session().start("busy", {"sh", "-c", "while :; do :; done"}));
    ASSERT_FALSE(vello().waitForExit(loadTime()));
    EXPECT_EQ(confessions(), 0);
    EXPECT_TRUE(isTapped(graph().state(), "player"));
    busy.clear();
    EXPECT_TRUE(awaitWay("output-a", Way::tapped));
}

TEST_F(VelloStands, WithAPausedApplicationWithoutBeingTakenForFrozen) {
    openSession();
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    auto& player = play({.name = "player", .applicationID = "org.example.player"});
    startVello();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    // Without a recorder the graph becomes idle.
    forgetMonitors();
    player.writeLine("pause");
    ASSERT_FALSE(vello().waitForExit(4s));
    player.writeLine("resume");
    EXPECT_TRUE(awaitWay("output-a", Way::tapped));
    EXPECT_EQ(confessions(), 0);
}

} // namespace
} // namespace vello::session
