// SPDX-License-Identifier: Apache-2.0
// VELLO in a sandbox like Flatpak's, and as a client that the audio server restricts: it equalizes, or says
// which permission it lacks.
#include "VelloTest.h"

#include <fstream>

#include <nlohmann/json.hpp>
#include <pipewire/version.h>

namespace vello::session {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class VelloInASandbox : public VelloTest {
protected:
    /// Runs a program with processes and a root folder of its own, in which the file is that marks Flatpak's
    /// sandboxes. Needs a session.
    std::vector<std::string> sandbox() const {
        const auto info = session().folder() / "flatpak-info";
        std::ofstream(info) << "[Application]\nname=com.quorvin.Vello\n[Instance]\ninstance-id=1\n";
        std::vector<std::string> command{"bwrap", "--die-with-parent", "--unshare-pid"};
        for (const auto& entry : std::filesystem::directory_iterator("/"))
            if (entry.is_symlink())
                command.insert(command.end(),
                               {"--symlink", std::filesystem::read_symlink(entry), entry.path()});
            else if (entry.is_directory() && entry.path() != "/proc")
                command.insert(command.end(), {"--dev-bind", entry.path(), entry.path()});
        command.insert(command.end(), {"--proc", "/proc", "--ro-bind", info.string(), "/.flatpak-info"});
        return command;
    }
    bool isSandboxAllowed() const {
        auto probe = sandbox();
        probe.emplace_back("true");
        return session().start("probe", probe)->waitForExit(5s) == 0;
    }
    /// What `vello` prints, whether it succeeds or not.
    std::string printed(const std::string& command) {
        const auto program = session().start("command-" + std::to_string(++runs_),
                                             {"sh", "-c", std::string(VELLO_PROGRAM) + " " + command});
        EXPECT_TRUE(program->waitForExit(9s));
        return program->output();
    }
    /// What status says of the tap of the only player; empty while there is no player.
    std::string tap() {
        const auto state = nlohmann::json::parse(printed("status --json"), nullptr, false);
        if (!state.is_object() || state["sources"].size() < 2)
            return "";
        return state["sources"][1]["tap"].get<std::string>();
    }

private:
    int runs_ = 0;
};

TEST_F(VelloInASandbox, Equalizes) {
    openSession();
    if (!isSandboxAllowed())
        GTEST_SKIP() << "this system allows no sandbox";
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    play({.name = "player", .applicationID = "org.example.player"});
    ASSERT_TRUE(awaitWay("output-a", Way::direct));
    startVello(sandbox());
    ASSERT_TRUE(awaitTapped("player"));
    EXPECT_TRUE(awaitWay("output-a", Way::tapped));
    EXPECT_EQ(tap(), "running");
    vello().kill();
    EXPECT_TRUE(awaitWay("output-a", Way::direct));
}

// Later servers leave it to the session manager whom they restrict, and it knows no programs.
#if !PW_CHECK_VERSION(1, 0, 0)
TEST_F(VelloInASandbox, SaysWhichPermissionIsMissing) {
    openSession({.restrictedProgram = VELLO_PROGRAM});
    play({.name = "player", .applicationID = "org.example.player"});
    ASSERT_TRUE(awaitWay("output-a", Way::direct));
    startVello();
    std::string said;
    ASSERT_TRUE(
        graph().waitUntil([&](const GraphState&) { return !(said = tap()).empty() && said != "none"; }));
    // No sound goes through the tap, and nobody says that it runs.
    EXPECT_NE(said, "running");
    EXPECT_TRUE(awaitWay("output-a", Way::direct));
    EXPECT_NE(tap(), "running");
    EXPECT_THAT(printed("doctor"),
                StartsWith("Trouble: VELLO has no right to redirect streams: PipeWire withholds "
                           "the permissions w and m"));
    stopVello();
}
#endif

} // namespace
} // namespace vello::session
