// SPDX-License-Identifier: Apache-2.0
// The program's commands, sent over a real bus to an instance with fake ports.
#include "ControlFixture.h"

#include <csignal>
#include <nlohmann/json.hpp>
#include <sys/wait.h>

namespace vello {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr char kPlayer[] = "org.example.player";

struct ClientTests : Control {
    struct Result {
        int exitCode = -1;
        std::string output;
    };

    std::unique_ptr<session::ChildProcess> begin(std::vector<std::string> words) {
        words.insert(words.begin(), VELLO_EXECUTABLE);
        return std::make_unique<session::ChildProcess>(words, environment_,
                                                       folder / ("client-" + std::to_string(++runs_)));
    }
    Result finish(session::ChildProcess& program) {
        std::optional<int> status;
        EXPECT_TRUE(waitUntil([&] { return (status = program.waitForExit(std::chrono::milliseconds(0))); }))
            << "does not end: " << program.output();
        return {status && WIFEXITED(*status) ? WEXITSTATUS(*status) : -1, program.output()};
    }
    Result run(std::vector<std::string> words) { return finish(*begin(std::move(words))); }
    nlohmann::json runJSON(std::vector<std::string> words) {
        const Result result = run(std::move(words));
        EXPECT_EQ(result.exitCode, 0) << result.output;
        return nlohmann::json::parse(result.output);
    }
    EQSettings settings(const std::string& id = kPlayer) { return controller->settings(id); }

    session::Environment environment_ = bus.environment();
    int runs_ = 0;
};

void expectOneLine(const ClientTests::Result& result, const std::string& part) {
    EXPECT_EQ(result.exitCode, 1) << result.output;
    EXPECT_THAT(result.output, AllOf(testing::StartsWith("vello: "), HasSubstr(part)));
    EXPECT_EQ(std::ranges::count(result.output, '\n'), 1) << result.output;
}

TEST_F(ClientTests, ShowsTheSourcesWithTheirLevels) {
    start();
    setLevel(0.5F);
    const Result result = run({"status"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, AllOf(HasSubstr("SOURCE"), HasSubstr(kPlayer), HasSubstr("101"),
                                     HasSubstr("running"), HasSubstr("Speakers"), HasSubstr("-6.0 dB")));
    EXPECT_TRUE(waitUntil([&] { return !service->hasSubscribers(); }));
}

TEST_F(ClientTests, PrintsTheSameAsJSON) {
    start();
    setLevel(0.5F);
    const auto json = runJSON({"status", "--json"});
    EXPECT_EQ(json["sources"][1]["id"], kPlayer);
    EXPECT_EQ(json["sources"][1]["level"], 0.5);
    EXPECT_EQ(json["sources"][1]["device"], "speakers");
    EXPECT_THAT(json["outputs"], SizeIs(2));
    EXPECT_THAT(runJSON({"presets", "--json"}), SizeIs(6));
    EXPECT_THAT(run({"presets"}).output, HasSubstr("bassBoost"));
}

TEST_F(ClientTests, ShowsTheSourcesAlsoWhenNothingPlays) {
    start();
    controller->setProcessingEnabled(false);
    const auto json = runJSON({"status", "--json"});
    EXPECT_EQ(json["isProcessingEnabled"], false);
    EXPECT_EQ(json["sources"][1]["level"], nullptr);
}

TEST_F(ClientTests, ChangesASourceByIDNameOrSystem) {
    start();
    EXPECT_EQ(run({"set", kPlayer, "--volume", "0.5"}).exitCode, 0);
    EXPECT_EQ(settings(), EQSettings{.volume = 0.5});
    EXPECT_EQ(run({"set", "Player", "--preset", "Bass Boost", "--output", "Headphones"}).exitCode, 0);
    EXPECT_EQ(settings(), (EQSettings{.bandGains = {6, 5, 3.5, 1.5, 0, 0, 0, 0},
                                      .volume = 0.5,
                                      .outputDeviceUID = "headphones"}));
    EXPECT_EQ(run({"set", "Player", "--reset", "--output", "auto", "--bypass", "on"}).output, "");
    EXPECT_EQ(settings(), (EQSettings{.isBypassed = true, .volume = 0.5}));
    EXPECT_EQ(run({"set", "system", "--gains", "1,2,3,4,5,6,7,-8"}).exitCode, 0);
    EXPECT_THAT(settings(std::string(kSystemSourceID)).bandGains, ElementsAre(1, 2, 3, 4, 5, 6, 7, -8));
}

TEST_F(ClientTests, FailsWhenAChangeCannotBeSaved) {
    start();
    const auto file = folder / "EQ by QUORVIN/settings.json";
    EXPECT_EQ(run({"set", kPlayer, "--volume", "0.5"}).exitCode, 0);
    EXPECT_THAT(readTestFile(file), HasSubstr("\"volume\": 0.5")) << "saved before the command ends";
    EXPECT_EQ(runJSON({"status", "--json"})["saveProblem"], nullptr);

    std::filesystem::remove(file);
    std::filesystem::create_directories(file);
    expectOneLine(run({"set", kPlayer, "--volume", "0.25"}), "not saved, because ");
    expectOneLine(run({"preset", "save", "Mine", "--from", kPlayer}), "settings.json is a folder");
    EXPECT_EQ(settings().volume, 0.25) << "the change is in effect";
    EXPECT_THAT(run({"status"}).output, HasSubstr("Settings: not saved, because "));
    EXPECT_THAT(runJSON({"status", "--json"})["saveProblem"].get<std::string>(),
                HasSubstr("not saved, because "));

    std::filesystem::remove(file);
    EXPECT_EQ(run({"set", kPlayer, "--volume", "0.75"}).exitCode, 0);
    EXPECT_THAT(readTestFile(file), AllOf(HasSubstr("\"volume\": 0.75"), HasSubstr("Mine")));
    EXPECT_THAT(run({"status"}).output, testing::Not(HasSubstr("not saved")));
}

TEST_F(ClientTests, ChangesASourceThatDoesNotPlayButHasSettings) {
    start();
    controller->updateSettings({.volume = 0.25}, "org.example.absent");
    EXPECT_EQ(run({"set", "org.example.absent", "--volume", "0.75"}).exitCode, 0);
    EXPECT_EQ(settings("org.example.absent").volume, 0.75);
}

TEST_F(ClientTests, ShowsWhatIsLeftAsItIsOnlyWhenAskedForAll) {
    hardware.addExemptStream({.name = "Film\x1b[2J",
                              .exemption = StreamExemption::surround,
                              .process = {.pid = 102, .devices = {speakers}}});
    start();
    EXPECT_THAT(run({"status"}).output, testing::Not(HasSubstr("Browser")));
    EXPECT_FALSE(runJSON({"status", "--json"}).contains("exemptStreams"));
    const Result result = run({"status", "--all"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, AllOf(HasSubstr("org.example.browser"), HasSubstr("Film?[2J"),
                                     HasSubstr("vello set ID --downmix on"), HasSubstr(kPlayer)));
    const auto streams = runJSON({"status", "--json", "--all"})["exemptStreams"];
    ASSERT_THAT(streams, SizeIs(1));
    EXPECT_EQ(streams[0]["id"], "org.example.browser");
    EXPECT_EQ(streams[0]["reason"], "surround");
}

TEST_F(ClientTests, ShowsWhatIsHeldReadyOnlyWhenAskedForAll) {
    applications.applications[101].localizedName = "Player\x1b[2J";
    start();
    EXPECT_THAT(run({"status", "--all"}).output, HasSubstr("No application is held ready."));
    stopPlayer();
    EXPECT_THAT(run({"status"}).output, testing::Not(HasSubstr(kPlayer)));
    EXPECT_FALSE(runJSON({"status", "--json"}).contains("readyApplications"));
    const Result result = run({"status", "--all"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, AllOf(HasSubstr("HELD READY ON"), HasSubstr(kPlayer), HasSubstr("Player?[2J"),
                                     HasSubstr("Speakers")));
    const auto ready = runJSON({"status", "--json", "--all"})["readyApplications"];
    ASSERT_THAT(ready, SizeIs(1));
    EXPECT_EQ(ready[0]["id"], kPlayer);
    EXPECT_EQ(ready[0]["device"], "speakers");
}

TEST_F(ClientTests, DownmixesAnApplicationThatHasNothingButExemptStreams) {
    hardware.addExemptStream({.exemption = StreamExemption::surround, .process = {.pid = 102}});
    start();
    EXPECT_EQ(run({"set", "Browser", "--downmix", "on"}).exitCode, 0);
    EXPECT_TRUE(settings("org.example.browser").downmixesSurround);
    EXPECT_EQ(run({"set", "org.example.browser", "--downmix", "off"}).exitCode, 0);
    EXPECT_FALSE(settings("org.example.browser").downmixesSurround);
    expectOneLine(run({"set", "system", "--downmix", "on"}), "one application");
}

TEST_F(ClientTests, SaysWhatItCannotFind) {
    start();
    expectOneLine(run({"set", "nobody", "--volume", "0.5"}), "no such source");
    expectOneLine(run({"set", "Player", "--preset", "nothing"}), "no preset \"nothing\"");
    expectOneLine(run({"set", "Player", "--output", "attic"}), "no output \"attic\"");
    expectOneLine(run({"preset", "save", "Mine", "--from", "no\nbody"}), "no source \"no?body\"");
    EXPECT_THAT(controller->settingsBySourceID().value(), IsEmpty());
}

TEST_F(ClientTests, SwitchesTheEqualizerOffAndOn) {
    start();
    EXPECT_EQ(run({"off"}).exitCode, 0);
    EXPECT_FALSE(controller->isProcessingEnabled().value());
    EXPECT_EQ(run({"on"}).exitCode, 0);
    EXPECT_TRUE(controller->isProcessingEnabled().value());
}

TEST_F(ClientTests, SavesTheCurveThatIsHeard) {
    start();
    const std::vector<double> system{1, 1, 1, 1, 1, 1, 1, 1};
    const std::vector<double> own{2, 2, 2, 2, 2, 2, 2, 2};
    controller->updateSettings({.bandGains = system}, std::string(kSystemSourceID));
    EXPECT_EQ(run({"preset", "save", "Late night", "--from", "Player"}).exitCode, 0);
    controller->updateSettings({.bandGains = own}, kPlayer);
    EXPECT_EQ(run({"preset", "save", "Own", "--from", "Player"}).exitCode, 0);
    EXPECT_THAT(controller->userPresets().value(),
                ElementsAre(UserEQPreset{"Late night", system}, UserEQPreset{"Own", own}));
}

TEST_F(ClientTests, WatchesUntilTheInstanceEnds) {
    start();
    setLevel(0.5F);
    const auto watch = begin({"status", "--watch", "--json"});
    const auto hasPrinted = [&](const char* part) {
        return waitUntil([&] { return watch->output().find(part) != std::string::npos; });
    };
    EXPECT_TRUE(hasPrinted(R"("level":0.5)"));
    setLevel(0.25F);
    EXPECT_TRUE(hasPrinted(R"("level":0.25)"));
    controller->updateSettings({.volume = 0.125}, kPlayer);
    EXPECT_TRUE(hasPrinted(R"("volume":0.125)"));
    hardware.addProcess({.pid = 102});
    EXPECT_TRUE(hasPrinted("org.example.browser"));
    presence.reset();
    const Result result = finish(*watch);
    EXPECT_EQ(result.exitCode, 1);
    std::istringstream lines(result.output);
    std::string line;
    for (; std::getline(lines, line) && line.starts_with('{');)
        EXPECT_TRUE(nlohmann::json::accept(line)) << line;
    EXPECT_THAT(line, HasSubstr("VELLO has ended"));
}

TEST_F(ClientTests, KeepsTheLevelsThatItWatchesWhenSomethingElseChanges) {
    start();
    setLevel(0.5F);
    const auto watch = begin({"status", "--watch", "--json"});
    const auto lineWith = [&](const std::string& part) {
        std::string found;
        EXPECT_TRUE(waitUntil([&] {
            std::istringstream lines(watch->output());
            for (std::string line; found.empty() && std::getline(lines, line) && !lines.eof();)
                found = line.find(part) == std::string::npos ? "" : line;
            return !found.empty();
        })) << watch->output();
        return found;
    };
    lineWith(R"("level":0.5)");
    for (const char* volume : {"0.125", "0.25", "0.75"}) {
        controller->updateSettings({.volume = std::stod(volume)}, kPlayer);
        EXPECT_THAT(lineWith(std::string(R"("volume":)") + volume), HasSubstr(R"("level":0.5)"));
    }
}

TEST_F(ClientTests, IsForgottenWhenItIsKilledWatching) {
    start();
    const auto watch = begin({"status", "--watch"});
    ASSERT_TRUE(waitUntil([&] { return service->hasSubscribers() && !watch->output().empty(); }));
    EXPECT_THAT(watch->output(), testing::Not(HasSubstr("\x1b"))) << "not a terminal";
    watch->signal(SIGINT);
    finish(*watch);
    EXPECT_TRUE(waitUntil([&] { return !service->hasSubscribers(); }));
}

TEST_F(ClientTests, EndsQuietlyWhenItsReaderHasGone) {
    start();
    setLevel(0.5F);
    session::ChildProcess program(
        {"sh", "-c", std::string(VELLO_EXECUTABLE) + " status --watch --json | head -n 1"}, environment_,
        folder / "piped");
    ASSERT_TRUE(waitUntil([&] { return program.output().find('\n') != std::string::npos; }));
    setLevel(0.25F);
    EXPECT_EQ(finish(program).exitCode, 0);
    EXPECT_EQ(std::ranges::count(program.output(), '\n'), 1) << program.output();
}

TEST_F(ClientTests, CompletesSourcesPresetsAndOutputsInTheShell) {
    applications.applications[102].localizedName = "Two \"words\"";
    hardware.addProcess({.pid = 102});
    start();
    ASSERT_TRUE(waitUntil([&] { return controller->sources().value().size() == 3; }));
    controller->saveUserPreset("Late night", std::vector<double>(8, 1.0));
    environment_["PATH"] =
        std::filesystem::path(VELLO_EXECUTABLE).parent_path().string() + ":" + environment_["PATH"];
    const auto complete = [&](const std::string& words) {
        session::ChildProcess bash({"bash", "-c",
                                    "source \"$0\"; COMP_WORDS=(vello " + words +
                                        "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _vello; "
                                        "printf '%s\\n' \"${COMPREPLY[@]}\"",
                                    VELLO_COMPLETION},
                                   environment_, folder / ("bash-" + std::to_string(++runs_)));
        return finish(bash).output;
    };
    // The name that would need quoting in the shell is not offered.
    EXPECT_EQ(complete("set ''"), "system\nPlayer\nSystem\neq-by-quorvin.system.master\n"
                                  "org.example.browser\norg.example.player\n");
    EXPECT_EQ(complete("set Player --preset La"), "Late\\ night\n");
    EXPECT_EQ(complete("set Player --output h"), "headphones\n");
    EXPECT_EQ(complete("set Player --output a"), "auto\n");
    EXPECT_EQ(complete("preset save Mine --from org.example.b"), "org.example.browser\n");
    // For an exempt stream only its application is offered, and only where it can be set.
    hardware.addExemptStream({.name = "Film", .process = {.pid = 500, .bundleID = "org.example.film"}});
    EXPECT_EQ(complete("set org.example.f"), "org.example.film\n");
    EXPECT_EQ(complete("set Fi"), "\n");
    // What is held ready is not offered.
    stopPlayer();
    EXPECT_EQ(complete("set org.example."), "org.example.browser\norg.example.film\n");
    EXPECT_EQ(complete("preset save Mine --from org.example.f"), "\n");
    EXPECT_EQ(complete("set Player --output h"), "headphones\n");
}

TEST_F(ClientTests, SaysThatNothingRuns) {
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"status"}, {"on"}, {"presets", "--json"}, {"set", "x", "--volume", "1"}})
        expectOneLine(run(words), "VELLO is not running; start it with: vello --headless");
}

TEST_F(ClientTests, SaysThatThereIsNoBus) {
    environment_.erase("DBUS_SESSION_BUS_ADDRESS");
    environment_["XDG_RUNTIME_DIR"] = folder / "nowhere";
    expectOneLine(run({"status"}), "no session bus");
    environment_["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + (folder / "nothing").string();
    expectOneLine(run({"status"}), "does not answer");
}

TEST_F(ClientTests, FindsTheBusInTheRuntimeFolder) {
    start();
    environment_.erase("DBUS_SESSION_BUS_ADDRESS");
    EXPECT_EQ(run({"presets"}).exitCode, 0);
}

} // namespace
} // namespace vello
