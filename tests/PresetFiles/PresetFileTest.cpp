// SPDX-License-Identifier: Apache-2.0
#include "PresetFiles/PresetFile.h"

#include "Foundation/JSONText.h"

#include <gmock/gmock.h>

#include <limits>

namespace vello {
namespace {

using testing::HasSubstr;

std::string sentenceFor(const std::string& content) {
    try {
        readPresetFile(content);
        return "";
    } catch (const PresetFileError& error) {
        return error.what();
    }
}

TEST(PresetFile, IsReadAsItWasWritten) {
    const std::vector<UserEQPreset> presets{{"Late night", {3, 0, -2, 0, 1.5, 0, -4, 6}},
                                            {"Küche ☕ \"x\"", {0.1, 1.0 / 3, -12, 12, 0, 0, 0, 1e-9}}};
    const auto read = readPresetFile(writePresetFile(presets));
    ASSERT_EQ(read.size(), presets.size());
    for (std::size_t i = 0; i < presets.size(); ++i) {
        EXPECT_EQ(read[i].name, presets[i].name);
        EXPECT_EQ(std::vector(read[i].bandGains.begin(), read[i].bandGains.end()), presets[i].bandGains);
        EXPECT_EQ(read[i].error.rms, 0);
        EXPECT_TRUE(read[i].remarks.empty());
    }
}

TEST(PresetFile, CannotBeWrittenOfWhatJSONCannotSay) {
    EXPECT_THROW(writePresetFile(std::vector<UserEQPreset>{{"\xff", std::vector<double>(8)}}), CodingError);
    EXPECT_THROW(writePresetFile(std::vector<UserEQPreset>{
                     {"A", std::vector(8, std::numeric_limits<double>::infinity())}}),
                 CodingError);
}

TEST(PresetFile, LeavesOutPresetsThatCouldNotBeRead) {
    const UserEQPreset sound{"Sound", std::vector<double>(8, 1)};
    const auto read = readPresetFile(writePresetFile(std::vector<UserEQPreset>{{"Short", {1, 2}}, sound}));
    ASSERT_EQ(read.size(), 1U);
    EXPECT_EQ(read[0].name, "Sound");
}

TEST(PresetFile, OfNoPresetsIsWrittenToo) {
    EXPECT_THAT(writePresetFile({}), HasSubstr("\"presets\": []"));
}

TEST(PresetFile, MayBeOneMegabyteAndNoMore) {
    const std::string curve = "GraphicEQ: 100 3; 1000 0\n";
    const std::string filler(kLargestPresetFile - curve.size(), '#');
    EXPECT_EQ(sentenceFor(curve + filler), "");
    EXPECT_THAT(sentenceFor(curve + filler + "#"), HasSubstr("too large"));
}

TEST(PresetFile, MayHaveAThousandFiltersAndNoMore) {
    std::string text;
    for (int i = 0; i < 1000; ++i)
        text += "Filter: ON PK Fc 1000 Hz Gain 0.001 dB Q 1.41\n";
    EXPECT_EQ(sentenceFor(text), "");
    EXPECT_EQ(sentenceFor(text + text), "There are more than 1000 filters before line 1001. Remove some.");
}

TEST(PresetFile, MayHaveAsManyPointsAsFit) {
    std::string text = "GraphicEQ: ";
    while (text.size() < kLargestPresetFile - 40)
        text += std::to_string(20 + text.size() % 20000) + " 1.5;";
    const auto presets = readPresetFile(text);
    ASSERT_EQ(presets.size(), 1U);
    EXPECT_LE(presets[0].error.rms, 0.1);
}

TEST(PresetFile, MayHaveAThousandPresetsAndNoMore) {
    const UserEQPreset flat{"A", std::vector<double>(8, 0)};
    EXPECT_EQ(readPresetFile(writePresetFile(std::vector(1000, flat))).size(), 1000U);
    EXPECT_THAT(sentenceFor(writePresetFile(std::vector(1001, flat))), HasSubstr("more than 1000 presets"));
}

TEST(PresetFile, NamesAtMostEightLinesThatItLeavesOut) {
    std::string text = "Filter: ON PK Fc 1000 Hz Gain 1 dB Q 1.41\n";
    for (int i = 0; i < 20; ++i)
        text += "nonsense\n";
    EXPECT_EQ(readPresetFile(text)[0].remarks[0].text(),
              "Lines that VELLO does not read are left out: 2, 3, 4, 5, 6, 7, 8, 9, ….");
}

TEST(PresetFile, IsNotQuotedWithControlCharacters) {
    const std::string sentence = sentenceFor("Filter: ON PK Fc \u202e Gain 1 dB Q 1\n");
    EXPECT_THAT(sentence, HasSubstr("(“\\u{202e}”)"));
}

TEST(PresetNameOfFile, IsTheNameWithoutFolderExtensionAndFormat) {
    EXPECT_EQ(presetNameOfFile("/home/a.b/Open Back 600 ParametricEQ.txt"), "Open Back 600");
    EXPECT_EQ(presetNameOfFile("Open Back 600 GraphicEQ.txt"), "Open Back 600");
    EXPECT_EQ(presetNameOfFile("GraphicEQ.txt"), "GraphicEQ");
    EXPECT_EQ(presetNameOfFile("Mk. 2.json"), "Mk. 2");
    EXPECT_EQ(presetNameOfFile(".hidden"), ".hidden");
    EXPECT_EQ(presetNameOfFile("folder/"), "");
    EXPECT_LE(presetNameOfFile(std::string(5000, 'x')).size(), 200U);
}

} // namespace
} // namespace vello
