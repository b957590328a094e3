// SPDX-License-Identifier: Apache-2.0
// What users hear when VELLO crashes, and what happens to its guard.
#include "EightPlayersTest.h"

#include <algorithm>
#include <filesystem>
#include <iostream>

namespace vello::session {
namespace {

class VelloGuard : public EightPlayersTest {
protected:
    /// A session in which eight applications are captured.
    void captureEight() {
        openSession();
        writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
        playEight();
        startCaptured();
    }
    /// Starts VELLO and waits until all eight applications are captured.
    void startCaptured(const std::vector<std::string>& launcher = {}) {
        startVello(launcher);
        ASSERT_TRUE(awaitAll(tapped));
    }
};

/// Time allowed until the session manager knows that VELLO has died and what to do.
constexpr double kMillisecondsToNotice = 20;
/// Number of crashes that each player is used for: it plays for 30 seconds.
constexpr int kDeathsOfOnePlayer = 3;

class VelloDies : public VelloGuard, public testing::WithParamInterface<int> {
protected:
    /// Writing a core file takes most of the time of a crash. The system decides where it is written.
    std::vector<std::string> withCoreFiles() {
        return {"prlimit", "--core=unlimited:", "env", "-C", session().folder().string()};
    }
    void removeCoreFiles() {
        std::vector<std::filesystem::path> found;
        for (const auto& file : std::filesystem::directory_iterator(session().folder()))
            if (file.path().filename().string().starts_with("core"))
                found.push_back(file.path());
        for (const auto& file : found)
            std::filesystem::remove(file);
    }
    /// Milliseconds until all applications were heard on their own outputs.
    double dieOnce() {
        forgetMonitors();
        startCaptured(withCoreFiles());
        const auto moment = std::chrono::steady_clock::now();
        vello().signal(GetParam());
        EXPECT_TRUE(awaitAll(direct));
        const double milliseconds = millisecondsUntilAll(direct, moment);
        EXPECT_TRUE(vello().waitForExit(10s));
        expectNothingLeft();
        EXPECT_EQ(wrongFramesSince(moment), 0U) << "heard on an output that is not the application's own";
        removeCoreFiles();
        return milliseconds;
    }
};

TEST_P(VelloDies, AndEightApplicationsAreHeardOnTheirOwnOutputs) {
    // A fixed quantum, because each link takes some cycles until it carries sound.
    openSession({.quantum = 256, .maximumQuantum = 256});
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    std::vector<double> milliseconds;
    std::vector<double> withoutVello;
    for (int i = 0; i < repetitions(3) && !HasFailure(); ++i) {
        if (i % kDeathsOfOnePlayer == 0) {
            endPlayers();
            playEight();
            ASSERT_TRUE(awaitAll(direct));
            forgetMonitors();
            withoutVello.push_back(millisecondsOfTheSessionManager());
        }
        milliseconds.push_back(dieOnce());
    }
    std::ranges::sort(milliseconds);
    std::ranges::sort(withoutVello);
    std::cout << "milliseconds until the applications were heard: " << testing::PrintToString(milliseconds)
              << "\nwhen the session manager moves them without VELLO: "
              << testing::PrintToString(withoutVello) << "\n";
    // The median, because other load on the machine only adds time.
    EXPECT_LE(median(milliseconds), median(withoutVello) + kMillisecondsToNotice);
}

INSTANTIATE_TEST_SUITE_P(, VelloDies, testing::Values(SIGKILL, SIGSEGV, SIGABRT), [](const auto& signal) {
    return std::string(signal.param == SIGKILL   ? "AtSIGKILL"
                       : signal.param == SIGSEGV ? "AtSIGSEGV"
                                                 : "AtSIGABRT");
});

TEST_F(VelloGuard, IsReplacedWhenItWasKilledAlone) {
    captureEight();
    const pid_t first = awaitGuard();
    ASSERT_EQ(::kill(first, SIGKILL), 0);
    const pid_t second = awaitGuard(first);
    EXPECT_TRUE(await([&] { return processState(first).empty(); })) << "a zombie is left";
    EXPECT_TRUE(awaitAll(tapped)) << "the applications are none of its business";
    // It is connected as soon as it mirrors the streams.
    ASSERT_TRUE(awaitClientOf(second));
    const auto moment = std::chrono::steady_clock::now();
    vello().signal(SIGKILL);
    EXPECT_TRUE(awaitAll(direct));
    EXPECT_EQ(wrongFramesSince(moment), 0U) << "heard on an output that is not the application's own";
    expectNothingLeft();
    // The process that inherits the guard may not reap it.
    const auto hasEnded = [&] { return processState(second).empty() || processState(second).front() == 'Z'; };
    EXPECT_TRUE(await(hasEnded)) << "the guard stays for ever";
}

TEST_F(VelloGuard, DoesNotKeepVelloFromEndingWhenItIsFrozen) {
    captureEight();
    const pid_t guard = awaitGuard();
    ASSERT_EQ(::kill(guard, SIGSTOP), 0);
    vello().signal(SIGTERM);
    EXPECT_TRUE(vello().waitForExit(4s)) << "waits for its guard";
    EXPECT_TRUE(processState(guard).empty()) << "leaves a frozen guard behind";
    EXPECT_TRUE(awaitAll(direct));
    expectNothingLeft();
}

TEST_F(VelloGuard, DoesNotHoldUpACrashWhenItIsFrozen) {
    captureEight();
    const pid_t guard = awaitGuard();
    ASSERT_EQ(::kill(guard, SIGSTOP), 0);
    const auto moment = std::chrono::steady_clock::now();
    vello().signal(SIGSEGV);
    EXPECT_TRUE(vello().waitForExit(4s));
    EXPECT_LT(std::chrono::steady_clock::now() - moment, 2s);
    // The guard acts once it continues.
    ASSERT_EQ(::kill(guard, SIGCONT), 0);
    EXPECT_TRUE(awaitAll(direct));
    expectNothingLeft();
}

TEST_F(VelloGuard, PutsThingsInOrderWhenItComesToAfterVelloWasKilled) {
    captureEight();
    const pid_t guard = awaitGuard();
    ASSERT_EQ(::kill(guard, SIGSTOP), 0);
    vello().signal(SIGKILL);
    EXPECT_TRUE(vello().waitForExit(4s));
    ASSERT_EQ(::kill(guard, SIGCONT), 0);
    EXPECT_TRUE(awaitAll(direct));
    expectNothingLeft();
}

TEST_F(VelloGuard, WhenKilledWithVelloLeavesTheChoicesToTheNextStart) {
    captureEight();
    ASSERT_EQ(::kill(awaitGuard(), SIGKILL), 0);
    vello().signal(SIGKILL);
    ASSERT_TRUE(vello().waitForExit(5s));
    ASSERT_TRUE(graph().waitUntil([](const GraphState& state) {
        return std::ranges::none_of(state.nodes, [](const auto& entry) { return isVellos(entry.second); });
    }));
    startCaptured();
    stopVello();
    EXPECT_TRUE(awaitAll(direct));
    expectNothingLeft();
}

} // namespace
} // namespace vello::session
