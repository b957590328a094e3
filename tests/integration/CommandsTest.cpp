// SPDX-License-Identifier: Apache-2.0
// Every command that changes or shows something, on the running program in a session of its own.
#include "VelloTest.h"

#include <csignal>

#include <nlohmann/json.hpp>
#include <sys/wait.h>

namespace vello::session {
namespace {

using testing::AllOf;
using testing::HasSubstr;

constexpr const char* kPlayerID = "org.example.player";

class Commands : public VelloTest {
protected:
    struct Result {
        int exitCode = -1;
        std::string output; ///< and errors
    };

    Result run(const std::string& words) {
        const std::string line = std::string("exec ") + VELLO_PROGRAM + " " + words;
        const auto program = session().start("command-" + std::to_string(++runs_), {"sh", "-c", line});
        const auto status = program->waitForExit(10s);
        return {status && WIFEXITED(*status) ? WEXITSTATUS(*status) : -1, program->output()};
    }
    std::string done(const std::string& words) {
        const Result result = run(words);
        EXPECT_EQ(result.exitCode, 0) << words << "\n" << result.output;
        return result.output;
    }
    void expectRefused(const std::string& words, int exitCode, const std::string& part) {
        const Result result = run(words);
        EXPECT_EQ(result.exitCode, exitCode) << words;
        EXPECT_THAT(result.output, HasSubstr(part)) << words;
    }
    nlohmann::json json(const std::string& words) { return nlohmann::json::parse(done(words)); }
    nlohmann::json player() { return json("status --json")["sources"][1]; }
    nlohmann::json settings() { return player()["settings"]; }

    /// Starts VELLO with a player that it captures.
    void startWithPlayer() {
        openSession();
        expectRefused("status", 3, "VELLO is not running");
        play({.name = "player", .applicationID = kPlayerID, .signal = "constant=0.5"});
        startVello();
        ASSERT_TRUE(awaitTapped("player"));
    }

    int runs_ = 0;
};

TEST_F(Commands, ChangeASource) {
    startWithPlayer();
    done("set player --volume 50%");
    EXPECT_EQ(settings()["volume"], 0.5);
    done("set player --volume +5%");
    EXPECT_NEAR(settings()["volume"], 0.55, 1e-9);
    done("set player --volume -3dB");
    EXPECT_NEAR(settings()["volume"], 0.55 * 0.70795, 1e-4);
    done("set player --band 1k=+3 --band 63-=2");
    EXPECT_EQ(settings()["bandGains"], nlohmann::json::parse("[-2,0,0,0,3,0,0,0]"));
    done("set player --bypass toggle");
    EXPECT_EQ(settings()["isBypassed"], true);
    EXPECT_THAT(done("set player --preset vocal"), HasSubstr("--bypass off"));
    const auto before = settings();
    done("undo player");
    EXPECT_NE(settings(), before);
    done("undo player");
    EXPECT_EQ(settings(), before);
    done("follow player");
    EXPECT_EQ(settings()["volume"], 1);
    EXPECT_EQ(settings()["isBypassed"], false);
    done("set system --preset bassBoost");
    EXPECT_THAT(done("set player --preset flat"), HasSubstr("those of System hold"));
    done("forget player");
    expectRefused("forget player", 1, "no stored settings");
    stopVello();
}

TEST_F(Commands, ShowWhereASourceIsHeard) {
    startWithPlayer();
    EXPECT_THAT(done("outputs"), AllOf(HasSubstr("output-a"), HasSubstr("Output B")));
    EXPECT_EQ(json("outputs --json").size(), 2U);
    done("set player --output 'Output B'");
    EXPECT_TRUE(graph().waitUntil([this](const GraphState&) { return player()["device"] == "output-b"; }));
    done("toggle");
    EXPECT_TRUE(graph().waitUntil([this](const GraphState&) { return player()["device"] == "output-a"; }));
    EXPECT_THAT(done("status"), HasSubstr("Output A, chosen: Output B"));
    EXPECT_THAT(done("set player --volume 1"), HasSubstr("vello on"));
    done("toggle");
    EXPECT_EQ(json("status --json")["isProcessingEnabled"], true);
    stopVello();
}

TEST_F(Commands, WorkOnPresetsAndSourcesThatDoNotPlay) {
    startWithPlayer();
    done("preset save Mine --gains 1,2,3,4,5,6,7,8");
    done("preset rename Mine 'Late night'");
    done("set org.example.later --new --preset 'Late night'");
    EXPECT_THAT(done("status --all"), AllOf(HasSubstr("DOES NOT PLAY"), HasSubstr("Late night")));
    expectRefused("set org.example.latr --volume 1", 1, "did you mean \"org.example.later\"?");
    expectRefused("preset delete 'Late nigt'", 1, "did you mean \"Late night\"?");
    expectRefused("preset delete vocal --json", 1, R"({"error":{"kind":"invalidValue")");
    expectRefused("preset save vocal --from system", 2, "built-in");
    expectRefused("stauts", 2, "did you mean \"status\"?");
    expectRefused("presets > /dev/full", 1, "No space left on device");
    done("preset delete 'Late night'");
    EXPECT_THAT(done("presets"), testing::Not(HasSubstr("Late night")));
    done("forget org.example.later");
    EXPECT_THAT(done("complete -- set pla"), HasSubstr("\nplayer\torg.example.player\n"));
    stopVello();
}

TEST_F(Commands, ExportAndImportPresets) {
    startWithPlayer();
    done("preset save Mine --gains 1,2,3,4,5,6,7,8");
    const std::string import = std::string(" | sed s/Mine/Copy/ | ") + VELLO_PROGRAM + " preset import ";
    EXPECT_THAT(done("preset export Mine" + import + "--dry-run -"), HasSubstr("Nothing was saved."));
    EXPECT_THAT(done("presets"), testing::Not(HasSubstr("Copy")));
    EXPECT_THAT(done("preset export Mine" + import + "-"), HasSubstr("Saved."));
    EXPECT_THAT(done("presets"), AllOf(HasSubstr("Mine"), HasSubstr("Copy")));
    expectRefused("preset export Mien", 1, "did you mean \"Mine\"?");
    expectRefused("preset export > /dev/full", 1, "No space left on device");
    stopVello();
    expectRefused("preset export", 3, "VELLO is not running");
}

TEST_F(Commands, WatchEventsUntilVelloEnds) {
    startWithPlayer();
    const auto watch = session().start(
        "watch", {"env", VELLO_PROGRAM, "status", "--watch", "--json", "--levels", "--rate", "4"});
    const auto awaitPrinted = [&](const std::string& part) {
        EXPECT_TRUE(watch->awaitOutput(part)) << watch->output();
    };
    awaitPrinted(R"({"event":"state")");
    awaitPrinted(R"({"event":"levels","levels":[{"id":"org.example.player","level":0.5,)");
    done("set player --volume 0.5");
    awaitPrinted(R"({"event":"sources","changed":[{"id":"org.example.player")");
    awaitPrinted(R"("level":0.25,)");
    done("off --json");
    awaitPrinted(R"({"event":"processing","isProcessingEnabled":false})");
    stopVello();
    const auto ended = watch->waitForExit(5s);
    ASSERT_TRUE(ended && WIFEXITED(*ended));
    EXPECT_EQ(WEXITSTATUS(*ended), 3);
}

} // namespace
} // namespace vello::session
