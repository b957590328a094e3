// SPDX-License-Identifier: Apache-2.0
// Observes and controls the running program from outside.
#include "VelloTest.h"

#include "Control/Bus/RunningInstance.h"
#include "Control/Bus/StateMaps.h"
#include "support/HostileCalls.h"

#include <algorithm>
#include <csignal>

#include <nlohmann/json.hpp>
#include <sys/wait.h>

#include <QCoreApplication>

namespace vello::session {
namespace {

using testing::AllOf;
using testing::HasSubstr;

constexpr const char* kPlayerID = "org.example.player";

class VelloControl : public VelloTest {
protected:
    std::string command(std::vector<std::string> words) const {
        words.insert(words.begin(),
                     {"env", VELLO_PROGRAM}); // its output is written to a file named after the first word
        return session().run(words);
    }
    nlohmann::json status() const { return nlohmann::json::parse(command({"status", "--json"})); }
    /// Starts VELLO and waits until it answers requests.
    void startControlled() {
        startVello();
        const auto deadline = std::chrono::steady_clock::now() + 8s;
        while (std::chrono::steady_clock::now() < deadline && vello().isRunning()) {
            const auto probe = session().start("probe", {VELLO_PROGRAM, "presets"});
            if (probe->waitForExit(5s) == 0)
                return;
        }
        FAIL() << "VELLO does not answer";
    }
    RunningState state() const {
        RunningState state = instance().state();
        state.presets = instance().presets();
        return state;
    }
    const RunningInstance& instance() const {
        if (!instance_)
            instance_ = std::make_unique<RunningInstance>(
                QString::fromStdString(session().environment().at("DBUS_SESSION_BUS_ADDRESS")));
        return *instance_;
    }

    int argumentCount_ = 1;
    char name_[5] = "test";
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_{argumentCount_, arguments_};
    mutable std::unique_ptr<RunningInstance> instance_;
};

TEST_F(VelloControl, ShowsASurroundStreamThatIsLeftAloneAndTakesItWhenAsked) {
    openSession({.outputs = {{"output-a", "Output A", 6}}});
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    play({.name = "film", .applicationID = "org.example.film", .signal = "constant=0.25", .channels = 6});
    ASSERT_TRUE(
        graph().waitUntil([](const GraphState& state) { return state.isLinked("film", "output-a"); }));
    startControlled();
    const auto shown = [this] {
        const auto all = nlohmann::json::parse(command({"status", "--all", "--json"}));
        return all.at("exemptStreams");
    };
    ASSERT_EQ(shown().size(), 1U);
    EXPECT_EQ(shown()[0]["id"], "org.example.film");
    EXPECT_EQ(shown()[0]["reason"], "surround");
    EXPECT_THAT(command({"status", "--all"}), HasSubstr("--downmix on"));
    EXPECT_FALSE(isTapped(graph().state(), "film"));
    command({"set", "org.example.film", "--downmix", "on"});
    ASSERT_TRUE(awaitTapped("film"));
    EXPECT_TRUE(shown().empty());
    command({"set", "org.example.film", "--downmix", "off"});
    EXPECT_TRUE(
        graph().waitUntil([](const GraphState& state) { return state.isLinked("film", "output-a"); }));
}

TEST_F(VelloControl, ShowsWhatIsHeldReadyUntilItIsSwitchedOff) {
    openSession();
    writeSettings(session(), {{kPlayerID, {.volume = 0.5}}});
    play({.name = "player", .applicationID = kPlayerID});
    startControlled();
    ASSERT_TRUE(awaitTapped("player"));
    EXPECT_THAT(command({"status", "--all"}), HasSubstr("No application is held ready."));
    endPlayer("player");
    ASSERT_TRUE(vello().awaitOutput("Audio-producing apps: \n"));
    const std::string shown = command({"status", "--all"});
    EXPECT_THAT(shown, testing::ContainsRegex("HELD READY ON\n" + std::string(kPlayerID) + " .*Output A\n"));
    command({"off"});
    EXPECT_THAT(command({"status", "--all"}), HasSubstr("No application is held ready."));
    stopVello();
}

TEST_F(VelloControl, ShowsAndChangesWhatIsHeard) {
    openSession();
    play({.name = "player", .applicationID = kPlayerID, .signal = "constant=0.5"});
    startControlled();
    ASSERT_TRUE(awaitTapped("player"));
    command({"set", kPlayerID, "--volume", "0.5"});
    const auto isHalved = [](const Recording& last) {
        return std::abs(last.sample(0, 0) - 0.25F) < 1e-3F &&
               std::abs(last.sample(last.frames() - 1, 0) - 0.25F) < 1e-3F;
    };
    EXPECT_TRUE(monitor("output-a").recordUntil(isHalved, 8192, 8s));
    const auto source = status()["sources"][1];
    EXPECT_EQ(source["id"], kPlayerID);
    EXPECT_EQ(source["tap"], "running");
    EXPECT_EQ(source["device"], "output-a");
    EXPECT_EQ(source["settings"]["volume"], 0.5);
    EXPECT_NEAR(source["level"].get<double>(), 0.25, 1e-3);
    command({"set", "player", "--output", "Output B"});
    EXPECT_TRUE(monitor("output-b").recordUntil(isHalved, 8192, 8s));
    command({"off"});
    EXPECT_TRUE(monitor("output-a")
                    .recordUntil(
                        [](const Recording& last) {
                            return std::abs(last.sample(last.frames() - 1, 0) - 0.5F) < 1e-3F;
                        },
                        8192, 8s));
    EXPECT_EQ(status()["sources"][1]["tap"], "none");
    stopVello();
}

TEST_F(VelloControl, IsThereOnce) {
    openSession();
    startControlled();
    const auto second = session().start("second", {VELLO_PROGRAM, "--headless"});
    const auto ended = second->waitForExit(5s);
    ASSERT_TRUE(ended && WIFEXITED(*ended));
    EXPECT_EQ(WEXITSTATUS(*ended), 1);
    EXPECT_THAT(second->output(), HasSubstr("VELLO is already running"));
    const auto panel = session().start("panel", {VELLO_PROGRAM});
    EXPECT_EQ(panel->waitForExit(5s), 1 << 8);
    EXPECT_THAT(panel->output(), AllOf(HasSubstr("without a panel"), HasSubstr("end it")));
    EXPECT_TRUE(vello().isRunning());
    stopVello();
}

TEST_F(VelloControl, WithstandsHostileCalls) {
    openSession();
    play({.name = "player", .applicationID = kPlayerID});
    startControlled();
    ASSERT_TRUE(awaitTapped("player"));
    command({"preset", "save", "Kept", "--from", "system"});
    command({"set", kPlayerID, "--volume", "0.5"});
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    const RunningState before = state();
    constexpr int calls = 10'000;
    const HostileOutcome outcome =
        makeHostileCalls(session().environment().at("DBUS_SESSION_BUS_ADDRESS"), calls, 2);
    EXPECT_EQ(outcome.refused, calls) << outcome.firstUnexpected;
    const HostileOutcome onPresetsAndSources =
        makeHostileCalls(session().environment().at("DBUS_SESSION_BUS_ADDRESS"), 2 * calls, 3,
                         AttackedMembers::presetsAndSources);
    EXPECT_EQ(onPresetsAndSources.refused, 2 * calls) << onPresetsAndSources.firstUnexpected;
    EXPECT_EQ(state(), before);
    EXPECT_TRUE(vello().isRunning());
    EXPECT_TRUE(awaitWay("output-a", Way::tapped));
    stopVello();
}

TEST_F(VelloControl, RebuildsATapWhoseApplicationFreezesAndIsHeardAgainAfterwards) {
    openSession();
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    auto& player = play({.name = "player", .applicationID = kPlayerID});
    startVello();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    player.signal(SIGSTOP);
    const std::string line =
        std::string("Tap for ").append(kPlayerID).append(" is silent/stalled; full teardown + rebuild");
    const std::string running = "Tap running for player";
    // Stalled after 3 s without a callback, then three checks 2 s apart; the tap is 5 s old by then.
    EXPECT_TRUE(graph().waitUntil(
        [&](const GraphState&) {
            const std::string log = vello().output();
            const auto rebuilt = log.find(line);
            return rebuilt != std::string::npos && log.find(running, rebuilt) != std::string::npos;
        },
        20s));
    player.signal(SIGCONT);
    EXPECT_TRUE(awaitWay("output-a", Way::tapped, 8192, 20s));
    stopVello();
}

} // namespace
} // namespace vello::session
