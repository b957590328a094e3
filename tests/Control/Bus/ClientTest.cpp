// SPDX-License-Identifier: Apache-2.0
// The program's commands, sent over a real bus to an instance with fake ports.
#include "ControlFixture.h"

#include <csignal>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

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

void expectOneLine(const ClientTests::Result& result, const std::string& part, int exitCode = 1) {
    EXPECT_EQ(result.exitCode, exitCode) << result.output;
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

TEST_F(ClientTests, FailsWithEveryCommandWhoseChangeCannotBeSaved) {
    start();
    const auto file = folder / "EQ by QUORVIN/settings.json";
    std::filesystem::create_directories(file);
    const std::string curve = folder / "curve.txt";
    writeTestFile(curve, "GraphicEQ: 100 3; 1000 0");
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"set", "system", "--volume", "0.5"},
          {"set", "Player", "--volume", "0.25"},
          {"undo", "Player"},
          {"follow", "Player"},
          {"preset", "save", "Mine", "--from", "system"},
          {"preset", "rename", "Mine", "Yours"},
          {"preset", "import", curve},
          {"preset", "delete", "Yours"},
          {"forget", "system"}}) {
        const Result result = run(words);
        EXPECT_EQ(result.exitCode, 1) << words.front();
        EXPECT_THAT(result.output, HasSubstr("vello: not saved, because ")) << words.front();
    }
    const auto error = nlohmann::json::parse(run({"set", "Player", "--volume", "0.5", "--json"}).output);
    EXPECT_EQ(error["error"]["kind"], "notSaved");
}

TEST_F(ClientTests, FailsOverPresetsThatAreNotSharedOnlyWhenItChangesPresets) {
    start();
    cloud.failure = "the folder is away";
    const std::string curve = folder / "curve.txt";
    writeTestFile(curve, "GraphicEQ: 100 3; 1000 0");
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"preset", "save", "Mine", "--gains", "1,2,3,4,5,6,7,8"},
          {"preset", "rename", "Mine", "Yours"},
          {"preset", "import", curve},
          {"preset", "delete", "Yours"}}) {
        const Result result = run(words);
        EXPECT_EQ(result.exitCode, 1) << words[1];
        EXPECT_THAT(result.output, HasSubstr("vello: presets not shared, because the folder is away"))
            << words[1];
    }
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"set", "Player", "--volume", "0.5"},
          {"undo", "Player"},
          {"set", "Player", "--volume", "0.25", "--json"},
          {"follow", "Player"},
          {"forget", "Player"}}) {
        const Result result = run(words);
        EXPECT_EQ(result.exitCode, 0) << words[0] << ": " << result.output;
        EXPECT_EQ(result.output, "") << words[0];
    }
    EXPECT_THAT(run({"status"}).output, HasSubstr("Settings: presets not shared, because "));
    const auto error =
        nlohmann::json::parse(run({"preset", "save", "Mine", "--gains", "1,2,3,4,5,6,7,8", "--json"}).output);
    EXPECT_EQ(error["error"]["kind"], "notShared");

    std::filesystem::remove(folder / "EQ by QUORVIN/settings.json");
    std::filesystem::create_directories(folder / "EQ by QUORVIN/settings.json");
    expectOneLine(run({"set", "Player", "--volume", "0.5"}), "not saved, because ");
}

TEST_F(ClientTests, SavesWhatEveryCommandChanges) {
    start();
    const auto saved = [&](const std::vector<std::string>& words) {
        EXPECT_EQ(run(words).exitCode, 0) << words.front();
        return nlohmann::json::parse(readTestFile(folder / "EQ by QUORVIN/settings.json"));
    };
    const auto volume = [](nlohmann::json file) { return file["sources"][kPlayer]["volume"]; };
    EXPECT_EQ(volume(saved({"set", "Player", "--volume", "0.25"})), 0.25);
    EXPECT_EQ(volume(saved({"undo", "Player"})), nullptr);
    EXPECT_EQ(volume(saved({"undo", "Player"})), 0.25);
    EXPECT_EQ(volume(saved({"follow", "Player"})), 1);
    EXPECT_EQ(volume(saved({"set", "Player", "--volume", "0.5"})), 0.5);
    EXPECT_EQ(volume(saved({"forget", "Player"})), nullptr);
    saved({"preset", "save", "Mine", "--gains", "1,2,3,4,5,6,7,8"});
    EXPECT_EQ(saved({"preset", "rename", "Mine", "Yours"})["userPresets"][0]["name"], "Yours");
    EXPECT_THAT(saved({"preset", "delete", "Yours"})["userPresets"], IsEmpty());
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
    expectOneLine(run({"set", "nobody", "--volume", "0.5"}), "no source \"nobody\"");
    expectOneLine(run({"set", "Plaier", "--volume", "0.5"}), "did you mean \"Player\"?");
    expectOneLine(run({"set", "Player", "--preset", "nothing"}), "no preset \"nothing\"");
    expectOneLine(run({"set", "Player", "--output", "attic"}), "no output \"attic\"");
    expectOneLine(run({"preset", "save", "Mine", "--from", "no\nbody"}), "no source \"no?body\"");
    const auto kindOf = [&](std::vector<std::string> words) {
        words.emplace_back("--json");
        return nlohmann::json::parse(run(std::move(words)).output)["error"]["kind"];
    };
    EXPECT_EQ(kindOf({"set", "nobody", "--volume", "0.5"}), "unknownSource");
    EXPECT_EQ(kindOf({"set", "Player", "--preset", "nothing"}), "unknownPreset");
    EXPECT_EQ(kindOf({"set", "Player", "--output", "attic"}), "unknownOutput");
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
    const auto watch = begin({"status", "--watch", "--json", "--levels"});
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
    EXPECT_EQ(result.exitCode, 3);
    std::istringstream lines(result.output);
    std::string line;
    for (; std::getline(lines, line) && !line.starts_with("{\"error\"");)
        EXPECT_TRUE(nlohmann::json::parse(line).contains("event")) << line;
    EXPECT_THAT(line, AllOf(HasSubstr("VELLO has ended"), HasSubstr("\"notRunning\"")));
}

TEST_F(ClientTests, WatchesNothingButChangesUnlessAskedForLevels) {
    start();
    setLevel(0.5F);
    const auto watch = begin({"status", "--watch", "--json"});
    const auto awaitPrinted = [&](const char* part) {
        EXPECT_TRUE(waitUntil([&] { return watch->output().find(part) != std::string::npos; })) << part;
    };
    awaitPrinted(R"({"event":"state")");
    EXPECT_FALSE(service->hasSubscribers()) << "the meters run for nobody";
    controller->updateSettings({.volume = 0.125}, kPlayer);
    awaitPrinted(R"("volume":0.125)");
    controller->setProcessingEnabled(false);
    awaitPrinted(R"({"event":"processing","isProcessingEnabled":false})");
    controller->saveUserPreset("Mine", std::vector<double>(8, 1.0));
    awaitPrinted(R"({"event":"presets","changed":[{"id":"Mine")");
    std::filesystem::create_directories(folder / "EQ by QUORVIN/settings.json");
    controller->save();
    awaitPrinted(R"({"event":"saveProblem","saveProblem":"not saved, because )");
    EXPECT_THAT(watch->output(), testing::Not(HasSubstr("level")));
    watch->signal(SIGINT);
    finish(*watch);
}

TEST_F(ClientTests, SaysOnceWhatIsTrueWhenItsReaderReadsAgain) {
    start();
    const auto pipe = (folder / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_EQ(::fcntl(reader, F_SETPIPE_SZ, 4096), 4096);
    session::ChildProcess watch(
        {"sh", "-c", "exec " + std::string(VELLO_EXECUTABLE) + " status --watch --json > " + pipe},
        environment_, folder / "watch");
    const auto read = [&] {
        char block[4096];
        const auto size = ::read(reader, block, sizeof block);
        return size > 0 ? std::string(block, static_cast<std::size_t>(size)) : std::string();
    };
    std::string all;
    ASSERT_TRUE(waitUntil([&] { return (all += read()).find("\n") != std::string::npos; }));
    all.clear();
    constexpr int changes = 400;
    for (int i = 1; i <= changes; ++i) {
        controller->updateSettings({.volume = i / 1000.0}, kPlayer);
        ask("org.freedesktop.DBus.Peer", "Ping", {}); // the change has been told by then
    }
    ASSERT_TRUE(waitUntil([&] { return (all += read()).find("\"volume\":0.4,") != std::string::npos; }));
    const auto told = std::ranges::count(all, '\n');
    EXPECT_LT(told, changes / 2) << "what nobody read was kept";
    ::close(reader);
    watch.signal(SIGINT);
    finish(watch);
}

TEST_F(ClientTests, IsForgottenWhenItIsKilledWatching) {
    start();
    const auto watch = begin({"status", "--watch", "--json", "--levels"});
    ASSERT_TRUE(waitUntil([&] { return service->hasSubscribers() && !watch->output().empty(); }));
    watch->signal(SIGINT);
    finish(*watch);
    EXPECT_TRUE(waitUntil([&] { return !service->hasSubscribers(); }));
}

TEST_F(ClientTests, EndsQuietlyWhenItsReaderHasGone) {
    start();
    setLevel(0.5F);
    session::ChildProcess program(
        {"sh", "-c", std::string(VELLO_EXECUTABLE) + " status --watch --json --levels | head -n 1"},
        environment_, folder / "piped");
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
    EXPECT_EQ(complete("set ''"), "Player\nSystem\nTwo\\ \\\"words\\\"\neq-by-quorvin.system.master\n"
                                  "org.example.browser\norg.example.player\nsystem\n");
    EXPECT_EQ(complete("preset delete L"), "Late\\ night\n");
    EXPECT_EQ(complete("preset export L"), "Late\\ night\n");
    EXPECT_EQ(complete("preset export Other L"), "Late\\ night\n");
    controller->updateSettings({.volume = 0.5}, "org.example.absent");
    EXPECT_EQ(complete("set org.example.a"), "org.example.absent\n");
    EXPECT_EQ(complete("forget org"), "org.example.absent\n");
    controller->forgetSource("org.example.absent");
    EXPECT_EQ(complete("set Player --preset La"), "Late\\ night\n");
    EXPECT_EQ(complete("set Player --output h"), "headphones\n");
    EXPECT_EQ(complete("set Player --output a"), "auto\n");
    EXPECT_EQ(complete("preset save Mine --from org.example.b"), "org.example.browser\n");
    // For an exempt stream only its application is offered, and only where it can be set.
    hardware.addExemptStream({.name = "Film", .process = {.pid = 500, .bundleID = "org.example.film"}});
    EXPECT_EQ(complete("set org.example.f"), "org.example.film\n");
    EXPECT_EQ(complete("set Fi"), "\n");
    stopPlayer();
    EXPECT_EQ(complete("set org.example."), "org.example.browser\norg.example.film\norg.example.player\n");
    EXPECT_EQ(complete("preset save Mine --from org.example.f"), "\n");
    EXPECT_EQ(complete("set Player --output h"), "headphones\n");
}

TEST_F(ClientTests, SaysThatNothingRuns) {
    for (const std::vector<std::string>& words : {std::vector<std::string>{"status"},
                                                  {"on"},
                                                  {"outputs"},
                                                  {"presets"},
                                                  {"set", "x", "--volume", "1"},
                                                  {"follow", "x"},
                                                  {"undo", "x"},
                                                  {"forget", "x"},
                                                  {"toggle"},
                                                  {"preset", "delete", "x"},
                                                  {"preset", "rename", "x", "y"},
                                                  {"preset", "export"}})
        expectOneLine(run(words), "VELLO is not running; start it with: vello --headless", 3);
    const auto error = nlohmann::json::parse(run({"status", "--json"}).output)["error"];
    EXPECT_EQ(error["kind"], "notRunning");
    EXPECT_EQ(error["exitCode"], 3);
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

TEST_F(ClientTests, ListsOutputs) {
    start();
    EXPECT_THAT(run({"outputs"}).output, AllOf(HasSubstr("OUTPUT"), HasSubstr("headphones")));
    EXPECT_EQ(runJSON({"outputs", "--json"})[0],
              nlohmann::json::parse(R"({"id":"speakers","name":"Speakers","isDefault":true})"));
}

TEST_F(ClientTests, ChangesByStepsFromWhatIsHeard) {
    start();
    controller->updateSettings({.bandGains = {4, 0, 0, 0, 0, 0, 0, 0}, .volume = 0.5},
                               std::string(kSystemSourceID));
    EXPECT_EQ(run({"set", "Player", "--volume", "+5%"}).exitCode, 0);
    EXPECT_THAT(settings().bandGains, ElementsAre(4, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_DOUBLE_EQ(settings().volume, 0.55);
    EXPECT_EQ(run({"set", "Player", "--band", "1k=+3", "--band", "63-=1", "--bypass", "toggle"}).exitCode, 0);
    EXPECT_THAT(settings().bandGains, ElementsAre(3, 0, 0, 0, 3, 0, 0, 0));
    EXPECT_TRUE(settings().isBypassed);
}

TEST_F(ClientTests, LetsASourceFollowTheSystemAgain) {
    start();
    controller->updateSettings({.bandGains = std::vector<double>(8, 2.0),
                                .isBypassed = true,
                                .volume = 0.5,
                                .outputDeviceUID = "headphones",
                                .downmixesSurround = true},
                               kPlayer);
    EXPECT_EQ(run({"follow", "Player"}).exitCode, 0);
    EXPECT_EQ(settings(), EQSettings());
    expectOneLine(run({"follow", "system"}), "name an application");
}

TEST_F(ClientTests, TakesChangesBackAndForgetsSources) {
    start();
    expectOneLine(run({"undo", "Player"}), "nothing to undo");
    EXPECT_EQ(run({"set", "Player", "--volume", "0.25"}).exitCode, 0);
    EXPECT_EQ(run({"undo", "Player"}).exitCode, 0);
    EXPECT_EQ(settings(), EQSettings());
    EXPECT_EQ(run({"undo", "Player"}).exitCode, 0);
    EXPECT_EQ(settings().volume, 0.25);
    EXPECT_EQ(run({"forget", "Player"}).exitCode, 0);
    EXPECT_THAT(controller->settingsBySourceID().value(), IsEmpty());
    expectOneLine(run({"forget", "Player"}), "no stored settings");
}

TEST_F(ClientTests, ChangesASourceBeforeItsFirstPlayOnlyWhenItIsCalledNew) {
    start();
    expectOneLine(run({"set", "org.example.later", "--volume", "0.5"}), "no source");
    EXPECT_EQ(run({"set", "org.example.later", "--volume", "0.5", "--new"}).exitCode, 0);
    EXPECT_EQ(settings("org.example.later").volume, 0.5);
    EXPECT_THAT(run({"status", "--all"}).output,
                AllOf(HasSubstr("DOES NOT PLAY"), HasSubstr("org.example.later")));
    EXPECT_EQ(runJSON({"status", "--all", "--json"})["storedSources"][0]["id"], "org.example.later");
    EXPECT_EQ(run({"set", "Player", "--volume", "0.5", "--new"}).exitCode, 0) << "it is known by its name";
    EXPECT_EQ(settings().volume, 0.5);
    expectOneLine(run({"set", "two words", "--volume", "0.5", "--new"}), "cannot be the id");
}

TEST_F(ClientTests, ChangesAnApplicationThatIsHeldReadyByItsName) {
    start();
    stopPlayer();
    EXPECT_EQ(run({"set", "Player", "--volume", "0.125"}).exitCode, 0);
    EXPECT_EQ(settings().volume, 0.125);
}

TEST_F(ClientTests, SavesDeletesAndRenamesPresets) {
    start();
    EXPECT_EQ(run({"preset", "save", "Mine", "--gains", "1,2,3,4,5,6,7,8"}).exitCode, 0);
    EXPECT_EQ(run({"preset", "rename", "Mine", "Yours"}).exitCode, 0);
    EXPECT_THAT(controller->userPresets().value(),
                ElementsAre(UserEQPreset{"Yours", {1, 2, 3, 4, 5, 6, 7, 8}}));
    expectOneLine(run({"preset", "delete", "Mine"}), "no saved preset \"Mine\"");
    expectOneLine(run({"preset", "delete", "vocal"}), "built in");
    EXPECT_EQ(run({"preset", "delete", "Yours"}).exitCode, 0);
    EXPECT_THAT(controller->userPresets().value(), IsEmpty());
}

TEST_F(ClientTests, TogglesTheMasterSwitch) {
    start();
    EXPECT_EQ(run({"toggle"}).exitCode, 0);
    EXPECT_FALSE(controller->isProcessingEnabled().value());
    EXPECT_EQ(run({"toggle"}).exitCode, 0);
    EXPECT_TRUE(controller->isProcessingEnabled().value());
}

TEST_F(ClientTests, HintsAtWhatIsNotHeard) {
    start();
    controller->updateSettings({.volume = 0.5}, std::string(kSystemSourceID));
    const auto hint = [&](const std::vector<std::string>& words) {
        const Result result = run(words);
        EXPECT_EQ(result.exitCode, 0);
        return result.output;
    };
    EXPECT_THAT(hint({"set", "Player", "--preset", "flat"}), HasSubstr("those of System hold"));
    EXPECT_EQ(hint({"set", "Player", "--preset", "vocal"}), "");
    EXPECT_THAT(nlohmann::json::parse(hint({"set", "Player", "--preset", "flat", "--json"}))["hint"],
                HasSubstr("System"));
    controller->setProcessingEnabled(false);
    EXPECT_THAT(hint({"set", "Player", "--volume", "0.5"}), HasSubstr("switched off"));
}

TEST_F(ClientTests, SaysWhichOfTwoPresetsItTakes) {
    start();
    controller->saveUserPreset("vocal", std::vector<double>(8, 1.0)); // as from a file
    const Result result = run({"set", "Player", "--preset", "vocal"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, HasSubstr("is taken for the built-in preset vocal"));
    EXPECT_THAT(settings().bandGains, testing::ElementsAreArray(EQPreset(EQPreset::vocal).bandGains()));
}

TEST_F(ClientTests, NamesTheOutputThatIsHeardAlsoWithoutATap) {
    start();
    hardware.setProcessDevices(player, {speakers});
    controller->updateSettings({.outputDeviceUID = "headphones"}, kPlayer);
    const auto device = [&] { return runJSON({"status", "--json"})["sources"][1]["device"]; };
    ASSERT_TRUE(waitUntil([&] { return device() == "headphones"; }));
    controller->setProcessingEnabled(false);
    EXPECT_EQ(device(), "speakers");
    EXPECT_THAT(run({"status"}).output, HasSubstr("Speakers, chosen: Headphones"));
}

TEST_F(ClientTests, FailsWhereItCannotPrint) {
    start();
    controller->saveUserPreset("Mine", std::vector<double>(8, 1.0));
    const std::string curve = folder / "curve.txt";
    writeTestFile(curve, "GraphicEQ: 100 3; 1000 0");
    for (const std::string& words :
         {std::string("status"), std::string("status --watch"), std::string("outputs"),
          std::string("presets"), std::string("preset export"), "preset import --dry-run '" + curve + "'",
          "preset import '" + curve + "'", std::string("--help"), std::string("--version"),
          std::string("permission"), std::string("completion bash"), std::string("complete -- set")}) {
        session::ChildProcess program(
            {"sh", "-c", std::string(VELLO_EXECUTABLE) + " " + words + " > /dev/full"}, environment_,
            folder / ("full-" + std::to_string(++runs_)));
        expectOneLine(finish(program), "cannot write to standard output: No space left on device");
    }
}

} // namespace
} // namespace vello
