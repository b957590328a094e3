// SPDX-License-Identifier: Apache-2.0
// VELLO as a service of the user's session: what brings it back when it dies or hangs, and when that ends.
#include "EightPlayersTest.h"
#include "HeldThread.h"
#include "Platform/Linux/System/SystemdUserServices.h"
#include "UserManager.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <optional>

namespace vello::session {
namespace {

constexpr const char* kVello = VELLO_INSTALLATION "/bin/vello";
constexpr const char* kUnit = "vello.service";
constexpr const char* kPanelUnit = "vello-panel.service";
constexpr const char* kNameOnTheBus = "com.quorvin.Vello";
constexpr auto kAgainWithin = 8s;
/// What millisecondsUntilAll returns while not all are heard so, in seconds.
constexpr double kNever = 1e6;
constexpr std::chrono::milliseconds kLongestSilence = 1s;

bool isAlive(pid_t process) {
    const std::string state = processState(process);
    return !state.empty() && state.front() != 'Z';
}

class Service : public EightPlayersTest {
protected:
    void SetUp() override {
        openSession();
        writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
        manager_.emplace(session().folder() / "manager", session().environment(), VELLO_INSTALLATION);
    }
    void TearDown() override {
        if (HasFailure() && manager_)
            ADD_FAILURE() << "the service manager and its services say:\n" << manager_->log();
        manager_.reset();
        EightPlayersTest::TearDown();
    }

    UserManager& manager() { return *manager_; }
    pid_t velloProcess(const char* unit = kUnit) const { return manager_->mainProcess(unit); }
    /// `seconds`: for how long the players play.
    void startEqualizing(int seconds = 30) {
        playEight(seconds);
        manager().control({"start", kUnit});
        ASSERT_TRUE(awaitAll(tapped));
    }
    /// Runs a program as the user does.
    std::string run(const std::vector<std::string>& command) {
        return runProgram(command, manager().environment(), session().folder(), 20s);
    }
    bool awaitState(const std::string& state, std::chrono::milliseconds timeout = 10s) {
        return await([&] { return manager().property(kUnit, "ActiveState") == state; }, timeout);
    }
    int timesLogged(const std::string& text) {
        const std::string log = manager().log();
        int count = 0;
        for (auto at = log.find(text); at != std::string::npos; at = log.find(text, at + 1))
            ++count;
        return count;
    }

    /// Awaits that another process than `former` equalizes all applications; seconds since `moment`.
    double secondsUntilAgain(pid_t former, std::chrono::steady_clock::time_point moment,
                             const char* unit = kUnit) {
        EXPECT_TRUE(await(
            [&] {
                const pid_t process = velloProcess(unit);
                return process != 0 && process != former;
            },
            20s))
            << "it was not started again";
        // Once more when a busy machine misses a cycle between the two looks: the time is then that after it.
        double seconds = kNever;
        EXPECT_TRUE(await(
            [&] {
                seconds = awaitAll(tapped, 20s) ? millisecondsUntilAll(tapped, moment) / 1000 : kNever;
                return seconds < kNever;
            },
            20s))
            << "it does not equalize again";
        return seconds;
    }
    /// Of any application on its own output.
    std::chrono::milliseconds longestSilenceSince(std::chrono::steady_clock::time_point moment) {
        std::size_t longest = 0;
        for (int i = 0; i < constantCode::kApplications; ++i) {
            const auto recording = monitor(outputOf(i)).recording();
            std::size_t silent = 0;
            for (auto frame = recording.frameAt(std::chrono::nanoseconds(moment.time_since_epoch()).count());
                 frame < recording.frames(); ++frame) {
                silent = constantCode::digit(recording.sample(frame, 0), i) == 0 ? silent + 1 : 0;
                longest = std::max(longest, silent);
            }
        }
        return std::chrono::milliseconds(longest * 1000 /
                                         static_cast<std::size_t>(session().options().sampleRate));
    }

private:
    std::optional<UserManager> manager_;
};

class ServiceFaults : public Service, public testing::WithParamInterface<int> {};

TEST_P(ServiceFaults, ItRunsAgain) {
    startEqualizing(30 + 10 * repetitions(10));
    double longest = 0;
    for (int i = 0; i < repetitions(10); ++i) {
        forgetMonitors();
        ASSERT_TRUE(awaitAll(tapped));
        const pid_t former = velloProcess();
        const auto moment = std::chrono::steady_clock::now();
        ASSERT_EQ(::kill(former, GetParam()), 0);
        const double seconds = secondsUntilAgain(former, moment);
        std::cout << "SIG" << ::sigabbrev_np(GetParam()) << " " << i + 1 << ": equalizes again after "
                  << seconds << " s\n";
        longest = std::max(longest, seconds);
    }
    std::cout << "SIG" << ::sigabbrev_np(GetParam()) << ": " << longest << " s at most\n";
    EXPECT_LE(std::chrono::duration<double>(longest), kAgainWithin);
    EXPECT_EQ(manager().property(kUnit, "NRestarts"), std::to_string(repetitions(10)));
}

INSTANTIATE_TEST_SUITE_P(, ServiceFaults, testing::Values(SIGSTOP, SIGSEGV, SIGKILL), [](const auto& signal) {
    return std::string("AfterSIG").append(::sigabbrev_np(signal.param));
});

TEST_F(Service, GivesEveryStreamBackWhenItIsKilledForGood) {
    manager().configure(kUnit, "Restart=no\n");
    startEqualizing();
    const auto moment = std::chrono::steady_clock::now();
    ASSERT_EQ(::kill(velloProcess(), SIGKILL), 0);
    EXPECT_TRUE(awaitAll(direct));
    std::cout << "killed for good: heard directly after " << millisecondsUntilAll(direct, moment) / 1000
              << " s\n";
    EXPECT_EQ(wrongFramesSince(moment), 0U) << "heard on an output that is not the application's own";
    expectNothingLeft();
}

TEST_F(Service, DoesNotTakeTheGuardWithIt) {
    manager().configure(kUnit, "Restart=no\n");
    startEqualizing();
    const auto guard = guardOf(velloProcess());
    ASSERT_TRUE(guard);
    // A guard that needs its time, as on a busy machine.
    ASSERT_EQ(::kill(*guard, SIGSTOP), 0);
    ASSERT_EQ(::kill(velloProcess(), SIGKILL), 0);
    ASSERT_TRUE(awaitState("failed"));
    ASSERT_TRUE(isAlive(*guard)) << "the service manager has killed it";
    ASSERT_EQ(::kill(*guard, SIGCONT), 0);
    EXPECT_TRUE(awaitAll(direct));
    expectNothingLeft();
    EXPECT_TRUE(await([&] { return !isAlive(*guard); }));
}

TEST_F(Service, RunsAgainAfterItsDataThreadGotStuck) {
    startEqualizing();
    const pid_t former = velloProcess();
    const auto before = waits(former);
    monitor("output-a").record(48000);
    const auto moment = std::chrono::steady_clock::now();
    std::optional<HeldThread> held(dataThreadOf(former, before));
    EXPECT_TRUE(await([&] { return !isAlive(former); }, 20s)) << "it was not ended";
    held.reset();
    const double seconds = secondsUntilAgain(former, moment);
    std::cout << "data thread stuck: equalizes again after " << seconds << " s\n";
    EXPECT_LE(seconds, 10); // two seconds until the guard notices, and then the watchdog's time
}

TEST_F(Service, IsNotStartedAnyMoreWhenItFailsForEver) {
    playEight();
    manager().configure(kUnit, "ExecStart=\nExecStart=/bin/sh -c 'kill -SEGV $$$$'\n");
    const auto moment = std::chrono::steady_clock::now();
    manager().control({"start", "--no-block", kUnit});
    ASSERT_TRUE(awaitState("failed", 60s));
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - moment;
    std::cout << "fails for ever: given up after " << manager().property(kUnit, "NRestarts")
              << " restarts in " << elapsed.count() << " s\n";
    EXPECT_TRUE(await([&] { return timesLogged("VELLO failed again and again") == 1; }));
    ASSERT_FALSE(awaitState("active", 2s));
    EXPECT_EQ(timesLogged("VELLO failed again and again"), 1);
    EXPECT_TRUE(awaitAll(direct));
}

TEST_F(Service, StartsAtTheNextLogin) {
    startEqualizing();
    manager().control({"enable", kUnit});
    const auto end = std::chrono::steady_clock::now();
    manager().logOut();
    EXPECT_TRUE(awaitAll(direct));
    std::cout << "logout: heard directly after " << millisecondsUntilAll(direct, end) / 1000 << " s\n";
    expectNothingLeft();
    const auto moment = std::chrono::steady_clock::now();
    manager().logIn();
    EXPECT_TRUE(awaitAll(tapped));
    std::cout << "login: equalizes after " << millisecondsUntilAll(tapped, moment) / 1000 << " s\n";
}

TEST_F(Service, IsExchangedForANewVersionWithoutALongSilence) {
    writeSettings(session(), {});
    playEight();
    manager().control({"start", kUnit});
    ASSERT_TRUE(graph().waitUntil([](const GraphState& state) { return redirects(state) == 8; }));
    run({kVello, "set", "system", "--volume", "0.5"});
    ASSERT_TRUE(awaitAll(tapped));
    const pid_t former = velloProcess();
    const auto moment = std::chrono::steady_clock::now();
    manager().control({"restart", kUnit});
    EXPECT_NE(velloProcess(), former);
    ASSERT_TRUE(awaitAll(tapped)) << "the settings are lost";
    const auto silence = longestSilenceSince(moment);
    std::cout << "restart: equalizes again after " << millisecondsUntilAll(tapped, moment) / 1000
              << " s, longest silence of an application " << silence.count() << " ms\n";
    EXPECT_LE(silence, kLongestSilence);
    EXPECT_EQ(manager().property(kUnit, "NRestarts"), "0");
}

TEST_F(Service, StartsWhenAProgramCallsItOnTheBus) {
    playEight();
    EXPECT_THAT(run({kVello, "--version"}), testing::HasSubstr("VELLO"));
    EXPECT_ANY_THROW(run({kVello, "status"})) << "the commands start nothing";
    EXPECT_EQ(manager().property(kUnit, "ActiveState"), "inactive");
    run({"busctl", "--user", "get-property", kNameOnTheBus, "/com/quorvin/Vello", "com.quorvin.Vello1",
         "Version"});
    EXPECT_TRUE(awaitState("active"));
    EXPECT_TRUE(awaitAll(tapped));
}

TEST_F(Service, LeavesTheSessionToOneThatRuns) {
    playEight();
    ChildProcess running({kVello, "--headless"}, manager().environment(), session().folder() / "running.log");
    ASSERT_TRUE(awaitAll(tapped));
    manager().control({"start", kUnit});
    EXPECT_TRUE(awaitState("inactive"));
    EXPECT_EQ(manager().property(kUnit, "Result"), "success");
    EXPECT_EQ(manager().property(kUnit, "NRestarts"), "0");
    EXPECT_EQ(manager().property(kUnit, "StatusText"),
              "VELLO is already running in this session; end that one first");
    EXPECT_TRUE(running.isRunning());
    EXPECT_TRUE(running.terminate());
}

TEST_F(Service, IsTakenOverByTheOneWithThePanel) {
    startEqualizing();
    manager().control({"set-environment", "DISPLAY=none", "QT_QPA_PLATFORM=offscreen"});
    manager().control({"start", kPanelUnit});
    EXPECT_EQ(manager().property(kUnit, "ActiveState"), "inactive");
    forgetMonitors();
    ASSERT_TRUE(awaitAll(tapped));
    const pid_t former = velloProcess(kPanelUnit);
    const auto moment = std::chrono::steady_clock::now();
    ASSERT_EQ(::kill(former, SIGSTOP), 0);
    const double seconds = secondsUntilAgain(former, moment, kPanelUnit);
    std::cout << "SIGSTOP, with the panel: equalizes again after " << seconds << " s\n";
    EXPECT_LE(std::chrono::duration<double>(seconds), kAgainWithin);
}

TEST_F(Service, IsSwitchedOnForTheNextLoginByTheRealManager) {
    ::setenv("DBUS_SESSION_BUS_ADDRESS", manager().environment().at("DBUS_SESSION_BUS_ADDRESS").c_str(), 1);
    SystemdUserServices services;
    ASSERT_TRUE(await([&] { return services.isActive("basic.target"); })) << "it is not on the bus";
    EXPECT_EQ(services.fileState("vello-unknown.service"), "");
    EXPECT_EQ(services.fileState(kPanelUnit), "disabled");
    EXPECT_FALSE(services.isActive("graphical-session.target"));
    const std::string alias = std::string("dbus-") + kNameOnTheBus + ".service";
    EXPECT_EQ(manager().property(alias, "Id"), kUnit);
    services.enable(kPanelUnit);
    EXPECT_EQ(services.fileState(kPanelUnit), "enabled");
    EXPECT_TRUE(await([&] { return manager().property(alias, "Id") == kPanelUnit; }));
    services.disable(kPanelUnit);
    services.disable(kPanelUnit);
    EXPECT_EQ(services.fileState(kPanelUnit), "disabled");
    EXPECT_TRUE(await([&] { return manager().property(alias, "Id") == kUnit; }));
    EXPECT_THROW(services.enable("vello-unknown.service"), std::runtime_error);
}

} // namespace
} // namespace vello::session
