// SPDX-License-Identifier: Apache-2.0
// Commands whose change cannot be saved or shared.
#include "ClientFixture.h"

namespace vello {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

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

} // namespace
} // namespace vello
