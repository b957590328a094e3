// SPDX-License-Identifier: Apache-2.0
// Presets as files, over a real bus: the methods of the interface and the commands of the program.
#include "ClientFixture.h"

#include "PresetFiles/PresetFile.h"

#include <QStringList>

namespace vello {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr char kCurve[] = "Preamp: -6.2 dB\nFilter 1: ON PK Fc 63 Hz Gain 3 dB Q 1.41\n"
                          "Filter 2: ON PK Fc 8000 Hz Gain -4.5 dB Q 1.41\n";
const std::vector<double> kGains{3, 0, 0, 0, 0, 0, 0, -4.5};
constexpr char kTwoPresets[] = R"([{"name": "One", "bandGains": [1, 0, 0, 0, 0, 0, 0, 0]},
                                   {"name": "Two", "bandGains": [2, 0, 0, 0, 0, 0, 0, 0]}])";

struct PresetFilesOnTheBus : ClientTests {
    QDBusMessage import(const char* name, const char* content) {
        return call("ImportPreset", {name, QByteArray(content)});
    }
    std::vector<UserEQPreset> saved() { return controller->userPresets().value(); }
};

TEST_F(PresetFilesOnTheBus, AreImportedWithTheErrorOfTheFit) {
    start();
    const QDBusMessage reply = import("Open Back", kCurve);
    ASSERT_THAT(reply, IsDone());
    const auto result = qdbus_cast<QVariantMap>(reply.arguments().value(0));
    EXPECT_EQ(result["name"].toString(), "Open Back");
    EXPECT_EQ(qdbus_cast<QList<double>>(result["band_gains"]), QList<double>(kGains.begin(), kGains.end()));
    for (const char* key : {"rms_error", "largest_error", "at_frequency"})
        EXPECT_EQ(result[key].typeId(), QMetaType::Double) << key;
    EXPECT_LT(result["rms_error"].toDouble(), 0.001);
    EXPECT_THAT(result["notes"].toStringList(), SizeIs(1));
    EXPECT_THAT(saved(), ElementsAre(UserEQPreset{"Open Back", kGains}));
}

TEST_F(PresetFilesOnTheBus, AreRefusedWithASentenceAndSaveNothing) {
    start();
    EXPECT_THAT(import("Mine", ""), IsRefused("InvalidValue"));
    const QDBusMessage damaged = import("Mine", "Filter: ON PK Fc loud\n");
    EXPECT_THAT(damaged, IsRefused("InvalidValue"));
    EXPECT_THAT(damaged.errorMessage().toStdString(), HasSubstr("line 1"));
    for (const char* name : {"", " ", "two\nlines", "bassBoost"})
        EXPECT_THAT(import(name, kCurve), IsRefused("InvalidValue")) << name;
    EXPECT_THAT(call("ImportPreset", {"Mine", QByteArray(kLargestPresetFile + 1, '#')}),
                IsRefused("InvalidValue"));
    EXPECT_THAT(saved(), IsEmpty());
}

TEST_F(PresetFilesOnTheBus, OfSeveralPresetsGiveTheOneThatIsNamed) {
    start();
    EXPECT_THAT(import("", kTwoPresets), IsRefused("InvalidValue"));
    EXPECT_THAT(import("Three", kTwoPresets), IsRefused("InvalidValue"));
    EXPECT_THAT(import("Two", kTwoPresets), IsDone());
    EXPECT_THAT(saved(), ElementsAre(UserEQPreset{"Two", {2, 0, 0, 0, 0, 0, 0, 0}}));
}

TEST_F(PresetFilesOnTheBus, AreExportedAsTheyCanBeImported) {
    start();
    controller->saveUserPreset("Late night", kGains);
    const QDBusMessage reply = call("ExportPresets");
    ASSERT_THAT(reply, IsDone());
    controller->deleteUserPreset("Late night");
    EXPECT_THAT(import("", reply.arguments().value(0).toString().toUtf8().constData()), IsDone());
    EXPECT_THAT(saved(), ElementsAre(UserEQPreset{"Late night", kGains}));
}

/// The program's commands.
struct PresetFileCommands : PresetFilesOnTheBus {
    Result run(std::vector<std::string> words) {
        words.insert(words.begin(), "preset");
        return ClientTests::run(std::move(words));
    }
    std::string file(const std::string& name, const std::string& content) {
        writeTestFile(folder / name, content);
        return folder / name;
    }
    void expectRefusal(const std::vector<std::string>& words, const std::string& part) {
        expectOneLine(run(words), part);
    }
};

TEST_F(PresetFileCommands, ImportAFileAndSayWhatItBecomes) {
    start();
    const Result result = run({"import", file("Open Back ParametricEQ.txt", kCurve)});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(
        result.output,
        "Open Back\n"
        "  gains  3.00, 0.00, 0.00, 0.00, 0.00, 0.00, 0.00, -4.50 dB, 63 Hz to 8 kHz\n"
        "  error  0.00 dB RMS, at most 0.00 dB\n"
        "  note   The file also changes the overall level by -6.2 dB. The bands cannot: use the volume.\n"
        "Saved.\n");
    EXPECT_THAT(saved(), ElementsAre(UserEQPreset{"Open Back", kGains}));
}

TEST_F(PresetFileCommands, SayAsJSONWhatAFileBecomes) {
    start();
    const std::string curve = file("Open Back ParametricEQ.txt", kCurve);
    const auto parsed = [](const Result& result) {
        EXPECT_EQ(result.exitCode, 0) << result.output;
        return nlohmann::json::parse(result.output);
    };
    const auto tried = parsed(run({"import", curve, "--json", "--dry-run"}));
    EXPECT_EQ(tried["isSaved"], false);
    EXPECT_THAT(saved(), testing::IsEmpty());
    const auto imported = parsed(run({"import", curve, "--json"}));
    EXPECT_EQ(imported["isSaved"], true);
    ASSERT_EQ(imported["presets"].size(), 1U);
    EXPECT_EQ(imported["presets"][0]["name"], "Open Back");
    EXPECT_EQ(imported["presets"][0]["bandGains"], nlohmann::json(kGains));
    EXPECT_LT(imported["presets"][0]["rmsError"], 0.01);
    EXPECT_EQ(imported["presets"][0]["notes"].size(), 1U);
    EXPECT_THAT(saved(), ElementsAre(UserEQPreset{"Open Back", kGains}));
}

TEST_F(PresetFileCommands, ExportIntoADeviceOrAPipe) {
    start();
    ASSERT_THAT(call("SavePreset", {"Mine", gains({1, 2, 3, 4, 5, 6, 7, 8})}), IsDone());
    const Result printed = run({"export", "--output", "/dev/stdout"});
    EXPECT_EQ(printed.exitCode, 0);
    EXPECT_THAT(printed.output, HasSubstr("\"Mine\""));
    const Result full = run({"export", "--output", "/dev/full"});
    EXPECT_EQ(full.exitCode, 1);
    EXPECT_EQ(full.output, "vello: cannot write '/dev/full': No space left on device\n");
}

TEST_F(PresetFileCommands, ImportUnderAnotherNameAndFromStandardInput) {
    start();
    EXPECT_EQ(run({"import", file("x.txt", kCurve), "--name", "Mine"}).exitCode, 0);
    const std::string piped =
        std::string(VELLO_EXECUTABLE) + " preset import - --name Piped < '" + file("y.txt", kCurve) + "'";
    session::ChildProcess shell({"sh", "-c", piped}, bus.environment(), folder / "shell");
    EXPECT_TRUE(waitUntil([&] { return shell.waitForExit(std::chrono::milliseconds(0)).has_value(); }));
    EXPECT_THAT(saved(), ElementsAre(UserEQPreset{"Mine", kGains}, UserEQPreset{"Piped", kGains}));
}

TEST_F(PresetFileCommands, OnlySayWhatAFileBecomesWithoutAnInstance) {
    const Result result =
        run({"import", "--dry-run", file("Shelf.txt", "Filter: ON LSC Fc 105 Hz Gain 5 dB Q 0.7\n")});
    EXPECT_EQ(result.exitCode, 0) << result.output;
    EXPECT_THAT(result.output, AllOf(HasSubstr("Shelf\n"), HasSubstr("dB RMS, at most 2.86 dB at 40 Hz\n"),
                                     HasSubstr("Nothing was saved.\n")));
    const Result saving = run({"import", folder / "Shelf.txt"});
    EXPECT_EQ(saving.exitCode, 3);
    EXPECT_THAT(saving.output, HasSubstr("vello: VELLO is not running"));
}

TEST_F(PresetFileCommands, ImportAllPresetsOfAFileOrNone) {
    start();
    expectRefusal({"import", file("two.json", kTwoPresets), "--name", "Mine"}, "several presets");
    expectRefusal({"import", file("bad.json", R"([{"name": "One", "bandGains": [1,0,0,0,0,0,0,0]},
                                                 {"name": "flat", "bandGains": [1,0,0,0,0,0,0,0]}])")},
                  "built-in");
    EXPECT_THAT(saved(), IsEmpty());
    EXPECT_EQ(run({"import", folder / "two.json"}).exitCode, 0);
    EXPECT_THAT(saved(), SizeIs(2));
}

TEST_F(PresetFileCommands, RefuseWhatCannotBeRead) {
    start();
    expectRefusal({"import", folder / "nowhere.txt"}, "No such file");
    expectRefusal({"import", folder.path()}, "cannot read");
    expectRefusal({"import", file("empty.txt", "")}, "empty.txt': The file is empty.");
    expectRefusal({"import", file("huge.txt", std::string(3 << 20, '#'))}, "too large");
    expectRefusal({"import", file("bassBoost.txt", kCurve)}, "built-in");
    EXPECT_THAT(saved(), IsEmpty());
}

TEST_F(PresetFileCommands, SayWhatIsWrongAsJSONWhereJSONIsAskedFor) {
    start();
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"import", "--json", folder / "nowhere.txt"}, {"export", "--json"}})
        EXPECT_THAT(run(words).output, testing::StartsWith(R"({"error":{"kind":"failed","message":")"));
}

TEST_F(PresetFileCommands, ExportPresetsToStandardOutputOrAFile) {
    start();
    expectRefusal({"export"}, "no saved presets");
    controller->saveUserPreset("One", kGains);
    controller->saveUserPreset("Two", kGains);
    EXPECT_THAT(readPresetFile(run({"export"}).output), SizeIs(2));
    const std::string target = folder / "presets.json";
    EXPECT_EQ(run({"export", "Two", "--output", target}).output, "");
    const auto exported = readPresetFile(readTestFile(target));
    ASSERT_THAT(exported, SizeIs(1));
    EXPECT_EQ(exported[0].name, "Two");
    expectRefusal({"export", "Three"}, "no saved preset \"Three\"");
    expectRefusal({"export", "Twoo"}, "did you mean \"Two\"?");
    expectRefusal({"export", "--output", folder / "nowhere/presets.json"}, "cannot write");
}

} // namespace
} // namespace vello
