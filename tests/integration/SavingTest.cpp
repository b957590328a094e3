// SPDX-License-Identifier: Apache-2.0
// What a user changed is on disk, however VELLO ends and whoever else uses the same home.
#include "VelloTest.h"

#include "Control/Bus/RunningInstance.h"
#include "support/WaitUntil.h"

#include <array>
#include <csignal>
#include <fstream>
#include <stdexcept>

#include <nlohmann/json.hpp>
#include <sys/wait.h>

#include <QCoreApplication>

namespace vello::session {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class VelloSaving : public VelloTest {
protected:
    static double savedVolume(const std::filesystem::path& file) {
        static const auto place = nlohmann::json::json_pointer("/sources") / kSystemSource / "volume";
        std::ifstream stream(file);
        const auto payload = nlohmann::json::parse(stream, nullptr, false);
        return payload.is_object() ? payload.value(place, -1.0) : -1.0;
    }
    /// Temporary files in the folder of the settings.
    static std::vector<std::string> leftovers(const std::filesystem::path& file) {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(file.parent_path()))
            if (entry.path().filename().string().starts_with("."))
                names.push_back(entry.path().filename().string());
        return names;
    }
    [[nodiscard]] static bool answers(const RunningInstance& instance) {
        const auto doesAnswer = [&instance] {
            try {
                (void)instance.state();
                return true;
            } catch (const std::runtime_error&) {
                return false; // not yet
            }
        };
        return waitUntil(doesAnswer, 8s);
    }
    static void setVolume(const RunningInstance& instance, double volume) {
        instance.call("SetSettings", {kSystemSource, QVariantMap{{"volume", volume}}});
    }
    static QString busOf(const PrivateAudioSession& session) {
        return QString::fromStdString(session.environment().at("DBUS_SESSION_BUS_ADDRESS"));
    }

    int argumentCount_ = 1;
    char name_[5] = "test";
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_{argumentCount_, arguments_};
};

/// Every order at every spacing; with VELLO_REPETITIONS=200 many times.
TEST_F(VelloSaving, KeepsAPendingChangeWhenTwoSignalsEndIt) {
    constexpr std::array kOrders{std::array{SIGTERM, SIGHUP}, std::array{SIGHUP, SIGTERM},
                                 std::array{SIGTERM, SIGTERM}, std::array{SIGINT, SIGHUP}};
    constexpr std::array kSpacings{0ms, 0ms, 1ms, 3ms, 10ms, 30ms, 100ms};
    openSession();
    const RunningInstance instance(busOf(session()));
    for (int round = 0; round < repetitions(28); ++round) {
        const auto& order = kOrders[static_cast<std::size_t>(round) % kOrders.size()];
        const auto spacing = kSpacings[static_cast<std::size_t>(round) % kSpacings.size()];
        const double volume = 0.001 * (round + 1);
        startVello();
        ASSERT_TRUE(answers(instance)) << "round " << round;
        setVolume(instance, volume);
        vello().signal(order[0]);
        const auto early = vello().waitForExit(spacing);
        vello().signal(order[1]);
        const auto status = early ? early : vello().waitForExit(8s);
        ASSERT_TRUE(status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0)
            << "round " << round << ", spacing " << spacing.count() << " ms, status " << status.value_or(-1);
        ASSERT_EQ(savedVolume(settingsFile(session())), volume)
            << "round " << round << ", spacing " << spacing.count() << " ms";
        ASSERT_THAT(leftovers(settingsFile(session())), IsEmpty());
    }
}

TEST_F(VelloSaving, TwoMachinesOnOneHomeDoNotOverwriteEachOther) {
    openSession();
    startVello();
    const RunningInstance first(busOf(session()));
    ASSERT_TRUE(answers(first));
    setVolume(first, 0.5);
    first.call("Save", {});

    const PrivateAudioSession machine;
    const std::string home = "XDG_DATA_HOME=" + session().dataHome().string();
    const auto other = machine.start("vello", {"env", home, VELLO_PROGRAM, "--headless"});
    const RunningInstance second(busOf(machine));
    ASSERT_TRUE(answers(second)) << other->output();
    EXPECT_THAT(second.state().saveProblem, HasSubstr("another VELLO"));
    EXPECT_THAT(second.state().saveProblem, HasSubstr("process " + std::to_string(vello().pid())));
    const auto refused = machine.start("set", {VELLO_PROGRAM, "set", "system", "--gains", "1,2,3,4,5,6,7,8"});
    const auto status = refused->waitForExit(8s);
    EXPECT_TRUE(status && WIFEXITED(*status) && WEXITSTATUS(*status) == 1) << refused->output();
    EXPECT_THAT(refused->output(), HasSubstr("vello: not saved, because another VELLO"));
    EXPECT_EQ(savedVolume(settingsFile(session())), 0.5);

    setVolume(second, 0.25);
    EXPECT_THROW(second.call("Save", {}), std::runtime_error);
    stopVello();
    EXPECT_EQ(savedVolume(settingsFile(session())), 0.5) << "the second one has not written yet";
    second.call("Save", {});
    EXPECT_EQ(savedVolume(settingsFile(session())), 0.25);
    EXPECT_EQ(second.state().saveProblem, "");
    EXPECT_TRUE(other->terminate(8s));
}

} // namespace
} // namespace vello::session
