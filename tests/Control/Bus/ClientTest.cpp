// SPDX-License-Identifier: Apache-2.0
// The program's commands, sent over a real bus to an instance with fake ports.
#include "ClientFixture.h"

namespace vello {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

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
        const std::string line =
            std::string(VELLO_EXECUTABLE).append(" ").append(words).append(" > /dev/full");
        session::ChildProcess program({"sh", "-c", line}, environment_,
                                      folder / ("full-" + std::to_string(++runs_)));
        expectOneLine(finish(program), "cannot write to standard output: No space left on device");
    }
}

} // namespace
} // namespace vello
