// SPDX-License-Identifier: Apache-2.0
// vello doctor in sessions that are broken on purpose: the first line names what is wrong.
#include "OwnMounts.h"
#include "Platform/Linux/System/ProcessFacts.h"
#include "support/TemporaryFolder.h"
#include "VelloTest.h"

#include <csignal>
#include <fstream>

#include <pipewire/version.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vello::session {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kNoTrouble = "No trouble found.\n";

class Doctor : public VelloTest {
protected:
    /// Runs it in the session, by a launcher such as env, and returns the page.
    std::string page(const std::vector<std::string>& launcher = {"env"}, const std::string& option = {}) {
        std::vector<std::string> command = launcher;
        command.insert(command.end(), {VELLO_PROGRAM, "doctor"});
        if (!option.empty())
            command.push_back(option);
        const auto program = session().start("doctor-" + std::to_string(++runs_), command);
        const auto status = program->waitForExit(9s);
        const std::string printed = program->output();
        EXPECT_TRUE(status && WIFEXITED(*status)) << printed;
        const int expectedExitCode = printed.starts_with(kNoTrouble) ? 0 : 1;
        EXPECT_EQ(status && WIFEXITED(*status) ? WEXITSTATUS(*status) : -1, expectedExitCode) << printed;
        return printed;
    }
    /// The first page that starts so: a program of the session has just been started or ended. After eight
    /// seconds the last one.
    std::string pageOfEvent(const std::string& start) {
        const auto deadline = std::chrono::steady_clock::now() + 8s;
        std::string printed = page();
        while (!printed.starts_with(start) && std::chrono::steady_clock::now() < deadline)
            printed = page();
        return printed;
    }
    /// A session in which VELLO equalizes a player.
    void openPlayingSession(const std::vector<std::string>& launcher = {}) {
        openSession();
        writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
        play({.name = "player", .applicationID = "org.example.player"});
        startVello(launcher);
        ASSERT_TRUE(awaitTapped("player"));
    }

private:
    int runs_ = 0;
};

TEST_F(Doctor, FindsNothingWhereVelloEqualizes) {
    openPlayingSession();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    const std::string printed = page();
    // Without the right to it, the priority is a trouble in every session of this machine.
    const bool hasRealtime = ownRealtimePriority() == RealtimePriority::granted;
    EXPECT_THAT(printed, StartsWith(hasRealtime ? kNoTrouble : "Trouble: VELLO gets no realtime priority"));
    EXPECT_THAT(printed,
                AllOf(ContainsRegex("PipeWire +[0-9]+[.][0-9]+"),
                      ContainsRegex("Session manager +WirePlumber 0[.][45][.][0-9][0-9]?\n"),
                      ContainsRegex("Running VELLO +runs"), ContainsRegex("Xruns since start +[0-9]"),
                      ContainsRegex("application 1 +yes +VELLO, then Output A +equalized"),
                      Not(HasSubstr("player"))));
    EXPECT_THAT(page({"env"}, "--names"), ContainsRegex("player +yes +VELLO, then Output A +equalized"));
    stopVello();
}

TEST_F(Doctor, CountsTheCyclesThatAFrozenVelloMisses) {
    openPlayingSession();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    vello().signal(SIGSTOP);
    monitor("output-a").record(static_cast<std::size_t>(8 * quantum()));
    vello().signal(SIGCONT);
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    EXPECT_THAT(page(), ContainsRegex("Xruns since start +[1-9]"));
    stopVello();
}

TEST_F(Doctor, NamesAMissingPipeWire) {
    openSession();
    session().killServers();
    EXPECT_THAT(page(), StartsWith("Trouble: PipeWire is not running"));
}

TEST_F(Doctor, ReturnsWhereNothingAnswers) {
    openPlayingSession();
    session().signalServers(SIGSTOP);
    vello().signal(SIGSTOP);
    const std::string printed = page();
    EXPECT_THAT(printed, StartsWith("Trouble: PipeWire does not answer"));
    EXPECT_THAT(printed, HasSubstr("\nAlso: VELLO is running, but it does not answer"));
    vello().signal(SIGCONT);
    session().signalServers(SIGCONT);
    stopVello();
}

/// Listens as PulseAudio does: the doctor asks the kernel who that is.
class PulseAudioStandIn {
public:
    explicit PulseAudioStandIn(const std::string& socket) : listener_(::socket(AF_UNIX, SOCK_STREAM, 0)) {
        ::prctl(PR_GET_NAME, name_);
        ::prctl(PR_SET_NAME, "pulseaudio");
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        socket.copy(address.sun_path, sizeof address.sun_path - 1);
        ::unlink(socket.c_str());
        if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(listener_, 4) != 0)
            ADD_FAILURE() << "cannot listen on " << socket;
    }
    ~PulseAudioStandIn() {
        ::close(listener_);
        ::prctl(PR_SET_NAME, name_);
    }
    PulseAudioStandIn(const PulseAudioStandIn&) = delete;
    PulseAudioStandIn& operator=(const PulseAudioStandIn&) = delete;

private:
    int listener_;
    char name_[16] = "";
};

TEST_F(Doctor, NamesPulseAudioInPlaceOfPipeWire) {
    openSession();
    session().killServers();
    const std::string socket = session().environment().at("PULSE_SERVER").substr(5);
    const PulseAudioStandIn server(socket);
    EXPECT_THAT(page(), StartsWith("Trouble: PulseAudio plays the sound here instead of PipeWire"));
}

TEST_F(Doctor, NamesAMissingAndAnOldSessionManager) {
    openSession();
    std::ifstream maps("/proc/" + std::to_string(session().sessionManager().pid()) + "/maps");
    std::string library;
    for (std::string line; library.empty() && std::getline(maps, line);)
        if (line.find("/libwireplumber-") != std::string::npos && line.find(".so.") != std::string::npos)
            library = line.substr(line.find('/'));
    ASSERT_FALSE(library.empty());
    session().killSessionManager();
    EXPECT_THAT(pageOfEvent("Trouble: PipeWire has no"),
                StartsWith("Trouble: PipeWire has no session manager"));
    // The same library under the file name of an old version.
    const auto folder = session().folder() / "old";
    std::filesystem::create_directory(folder);
    const std::string file = std::filesystem::path(library).filename();
    const std::string family = file.substr(0, file.find(".so.")) + ".so.";
    std::filesystem::copy_file(library, folder / (family + "0.4.8"));
    std::filesystem::create_symlink(family + "0.4.8", folder / (family + "0"));
    const auto old =
        session().start("old-wireplumber", {"env", "LD_LIBRARY_PATH=" + folder.string(), "wireplumber"});
    EXPECT_THAT(pageOfEvent("Trouble: the session manager"),
                StartsWith("Trouble: the session manager WirePlumber 0.4.8 is too old"));
}

// Later servers leave it to the session manager whom they restrict, and it knows no programs.
#if !PW_CHECK_VERSION(1, 0, 0)
TEST_F(Doctor, NamesMissingRights) {
    openSession({.restrictedProgram = VELLO_PROGRAM});
    play({.name = "player", .signal = "constant=0.5"});
    ASSERT_TRUE(awaitWay("output-a", Way::direct));
    EXPECT_THAT(page(), StartsWith("Trouble: VELLO has no right to redirect streams"));
}
#endif

TEST_F(Doctor, NamesADeniedConsent) {
    openPlayingSession();
    session().run({VELLO_PROGRAM, "permission", "deny"});
    EXPECT_THAT(page(), StartsWith("Trouble: the consent to capture what applications play is denied"));
    stopVello();
}

TEST_F(Doctor, NamesAnotherEqualizerInTheChain) {
    openSession();
    loadModule("filter-chain", "node.description = \"Other Equalizer\"\n"
                               "filter.graph = { nodes = [ { type = builtin name = bell label = bq_peaking\n"
                               "    control = { Freq = 1000.0 Q = 1.0 Gain = 6.0 } } ] }\n"
                               "audio.channels = 2 audio.position = [ FL FR ]\n"
                               "capture.props = { node.name = equalizer media.class = Audio/Sink }\n"
                               "playback.props = { node.name = equalizer-output target.object = output-a }");
    ASSERT_TRUE(graph().waitUntil(
        [](const GraphState& state) { return state.isLinked("equalizer-output", "output-a"); }));
    play({.name = "player", .applicationID = "org.example.player", .output = "equalizer"});
    startVello();
    ASSERT_TRUE(awaitTapped("player"));
    EXPECT_THAT(page(),
                StartsWith("Trouble: another equalizer or filter is in the chain, so sound is changed "
                           "twice: \"Other Equalizer\""));
    stopVello();
}

TEST_F(Doctor, NamesAMissingRealtimePriority) {
    openPlayingSession({"prlimit", "--rtprio=0:0", "setpriv", "--bounding-set", "-sys_nice"});
    EXPECT_THAT(page(), StartsWith("Trouble: VELLO gets no realtime priority"));
    stopVello();
}

TEST_F(Doctor, NamesAFullDisk) {
    const TemporaryFolder logs;
    VELLO_NEEDS_OWN_MOUNTS(logs.path());
    openSession();
    ASSERT_EQ(::mount("tmpfs", session().dataHome().c_str(), "tmpfs", 0, "size=64k"), 0);
    std::ofstream(session().dataHome() / "everything") << std::string(1 << 17, 'x');
    EXPECT_THAT(page(), StartsWith("Trouble: the disk is full"));
    ::umount(session().dataHome().c_str());
}

TEST_F(Doctor, NamesADesktopWithoutATray) {
    openSession();
    EXPECT_THAT(page({"env", "DISPLAY=:99"}), StartsWith("Trouble: the desktop shows no tray items"));
}

TEST_F(Doctor, NamesTwoInstances) {
    openPlayingSession();
    const auto other = session().folder() / "other";
    std::filesystem::create_directory(other);
    const auto second = session().start(
        "second-vello", {"env", "PIPEWIRE_REMOTE=" + session().socket(), "XDG_RUNTIME_DIR=" + other.string(),
                         "XDG_DATA_HOME=" + other.string(), "DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent",
                         VELLO_PROGRAM, "--headless"});
    ASSERT_TRUE(second->awaitOutput("vello permission allow"));
    EXPECT_THAT(page(), StartsWith("Trouble: two instances of VELLO"));
    EXPECT_TRUE(second->terminate());
    stopVello();
}

} // namespace
} // namespace vello::session
