// SPDX-License-Identifier: Apache-2.0
// Every file of the folder cases gives a curve or a sentence.
#include "PresetFiles/PresetFile.h"

#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>

namespace vello {
namespace {

using testing::Contains;
using testing::HasSubstr;

/// What a case is expected to give.
struct Expected {
    std::string sentence = {};             ///< the whole error; empty: a curve
    std::vector<double> gains = {};        ///< dB; empty: only the error of the fit is checked
    double gainTolerance = 0.011;          ///< dB
    double largestRMS = 0.01;              ///< dB
    std::vector<std::string> remarks = {}; ///< all of them, in order
};

/// The curve of most cases: bells that VELLO has itself.
const std::vector<double> kUsual{3, 0, -2, 0, 1.5, 0, -4, 6};
const std::string kLevel =
    "The file also changes the overall level by -6.2 dB. The bands cannot: use the volume.";

const std::string kNoCurve = "The file has no curve for left or right: no GraphicEQ line, and no bell or "
                             "shelf that is on. Choose another.";
const std::string kNoText = "The file is not text. Choose the text or JSON file of an equalizer.";
const std::string kEmpty = "The file is empty. Choose one that holds a curve.";
const std::string kFlatBelow = "Below 40 Hz, where there is no band, the file differs by up to 4.6 dB.";

const std::map<std::string, Expected> kCases{
    {"apo-parametric.txt", {.gains = kUsual, .remarks = {kLevel}}},
    {"apo-decimal-commas.txt", {.gains = kUsual, .remarks = {kLevel}}},
    {"apo-thousands.txt", {.gains = kUsual}},
    {"apo-off-filters.txt", {.gains = kUsual}},
    {"apo-unknown-types.txt",
     {.gains = kUsual,
      .remarks = {"Filters of other types than bell and shelf are left out. Their lines: 6, 7, 8."}}},
    {"apo-left-right.txt",
     {.gains = {3, 0, -2, 4, 1.5, 0.2, -4, 6},
      .remarks = {"Left and right differ by up to 0.4 dB. The curve is the mean of both.",
                  "The file also changes the overall level by -2.0 dB. The bands cannot: use the volume."}}},
    {"apo-other-channels.txt", {.sentence = kNoCurve}},
    {"apo-bandwidth.txt", {.gains = {0, 0, 0, 0, 6, 0, 0, 0}, .gainTolerance = 0.03}},
    {"apo-shelves.txt",
     {.gains = {5.4, 0.69, -0.18, -0.09, 0.37, -1.64, -1.28, -0.52},
      .largestRMS = 0.68,
      .remarks = {"The file also changes the overall level by -5.5 dB. The bands cannot: use the volume.",
                  kFlatBelow, "Above 12 kHz, where there is no band, the file differs by up to 2.0 dB."}}},
    {"apo-corner-shelves.txt",
     {.gains = {5.36, 1.51, 0.12, -0.02, 0, 0.1, -0.15, -3.24},
      .largestRMS = 0.6,
      .remarks = {kFlatBelow, "Above 12 kHz, where there is no band, the file differs by up to 3.0 dB."}}},
    {"apo-blank-lines.txt", {.gains = kUsual}},
    {"apo-old-line-ends.txt", {.gains = kUsual}},
    {"apo-other-lines.txt",
     {.gains = kUsual, .remarks = {"Lines that VELLO does not read are left out: 1, 2, 3, 4."}}},
    {"apo-above-nyquist.txt",
     {.gains = kUsual,
      .gainTolerance = 0.05,
      .largestRMS = 0.02,
      .remarks = {"Filters at 24 kHz and above are left out. Their lines: 6.",
                  "Above 12 kHz, where there is no band, the file differs by up to 5.0 dB."}}},
    {"apo-beyond-limits.txt",
     {.gains = {12, 12, 12, 12, -0.58, -0.35, -0.06, -0.01},
      .largestRMS = 12.5,
      .remarks = {"These bands are at their limit of 12 dB: 63, 125, 250, 500.",
                  "Below 40 Hz, where there is no band, the file differs by up to 38.8 dB."}}},
    {"apo-damaged-gain.txt",
     {.sentence =
          "The filter in line 2 (“loud”) has no gain such as Gain -2.5 dB. Correct or remove the line."}},
    {"apo-no-frequency.txt",
     {.sentence = "The filter in line 3 has no frequency such as Fc 100 Hz. Correct or remove the line."}},
    {"apo-no-width.txt",
     {.sentence = "The filter in line 1 has no width such as Q 1.41. Correct or remove the line."}},
    {"apo-huge-gain.txt",
     {.sentence =
          "The filter in line 1 (“1e9”) has no gain such as Gain -2.5 dB. Correct or remove the line."}},
    {"apo-no-slope.txt",
     {.sentence = "The shelf in line 1 (“99”) has no slope such as 12 dB. Correct or remove the line."}},
    {"apo-preamp-only.txt", {.sentence = kNoCurve}},
    {"apo-preamp-damaged.txt",
     {.sentence =
          "The preamp in line 1 is not a number of decibels such as -6.5. Correct or remove the line."}},
    {"apo-all-off.txt", {.sentence = kNoCurve}},
    {"graphic-autoeq.txt",
     {.gains = {2.67, -0.19, -2.19, -0.23, 1.28, -0.22, -4.18, 5.66},
      .gainTolerance = 0.05,
      .largestRMS = 0.06,
      .remarks = {"The file also changes the overall level by -5.8 dB. The bands cannot: use the volume."}}},
    {"graphic-damaged-point.txt",
     {.sentence = "A point in line 2 (“200 abc”) is not a frequency and a gain, such as 100 -2.5. Correct or "
                  "remove it."}},
    {"graphic-half-point.txt",
     {.sentence = "A point in line 1 (“100”) is not a frequency and a gain, such as 100 -2.5. Correct or "
                  "remove it."}},
    {"graphic-zero-frequency.txt",
     {.sentence = "A point in line 1 (“0 -84”) is not a frequency and a gain, such as 100 -2.5. Correct or "
                  "remove it."}},
    {"graphic-no-points.txt",
     {.sentence = "The curve in line 1 has no points. Give it some, such as GraphicEQ: 100 -2.5; 1000 0."}},
    {"graphic-fine.txt", {.gains = kUsual, .gainTolerance = 0.03}},
    {"graphic-decimal-commas.txt", {.gains = kUsual, .gainTolerance = 0.03}},
    {"graphic-unsorted.txt", {.gains = kUsual, .gainTolerance = 0.03}},
    {"graphic-utf16-big.txt", {.gains = kUsual, .gainTolerance = 0.03}},
    {"graphic-utf16-little.txt", {.gains = kUsual, .gainTolerance = 0.03}},
    {"latin1.txt", {.gains = kUsual, .remarks = {"Lines that VELLO does not read are left out: 2."}}},
    {"measurement.txt",
     {.gains = kUsual, .remarks = {"Lines that VELLO does not read are left out: 1, 3, 4, 6, 8, 9."}}},
    {"typographic.txt", {.gains = kUsual, .remarks = {kLevel}}},
    {"easyeffects.json", {.gains = kUsual, .remarks = {kLevel}}},
    {"easyeffects-old-key.json", {.gains = kUsual}},
    {"easyeffects-left-right.json",
     {.gains = {3, 0, -2, 4.2, 1.5, 0, -4, 6},
      .remarks = {"Left and right differ by up to 0.4 dB. The curve is the mean of both."}}},
    {"easyeffects-modes.json",
     {.gains = kUsual,
      .remarks = {"Filters of other modes than APO (DR) with slope x1 are read as if they were of it, such "
                  "as “left band0”.",
                  "Filters of other types than bell and shelf are left out, such as “left band6”."}}},
    {"easyeffects-shelves.json",
     {.gains = {5.4, 0.7, -0.19, -0.02, 0, -0.02, 0.16, -0.81},
      .largestRMS = 0.54,
      .remarks = {kFlatBelow, "Above 12 kHz, where there is no band, the file differs by up to 2.0 dB."}}},
    {"easyeffects-damaged-band.json",
     {.sentence =
          "“left band2 gain” is missing in the file, or is not a usable number. Export the preset again."}},
    {"easyeffects-no-left.json",
     {.sentence = "The equalizer in the file has no “left”. Export the preset again."}},
    {"easyeffects-bypassed.json",
     {.sentence = "The equalizer in the file has no bell or shelf that is on. Choose another."}},
    {"easyeffects-no-equalizer.json",
     {.sentence = "The file has neither presets of VELLO nor an equalizer of EasyEffects. Choose another."}},
    {"json-truncated.json", {.sentence = "The JSON of the file is damaged in line 24. Export it again."}},
    {"json-decimal-commas.json", {.sentence = "The JSON of the file is damaged in line 4. Export it again."}},
    {"json-deep.json", {.sentence = "The JSON of the file is damaged in line 1. Export it again."}},
    {"json-number.json", {.sentence = "Preset 1 of the file has no name or no gains. Correct or remove it."}},
    {"vello.json", {.gains = kUsual}},
    {"vello-one.json", {.gains = kUsual}},
    {"vello-list.json", {.gains = kUsual}},
    {"vello-beyond-limits.json",
     {.gains = {12, 4.84, -0.5, 0.23, -0.03, 0.01, 0, 0},
      .largestRMS = 1.86,
      .remarks = {"These bands are at their limit of 12 dB: 63.",
                  "Below 40 Hz, where there is no band, the file differs by up to 2.3 dB."}}},
    {"vello-newer.json",
     {.sentence = "The file is of a newer version of VELLO. Import it there, or update this one."}},
    {"vello-seven-gains.json",
     {.sentence = "Preset 2 of the file does not have eight gains in decibels. Correct or remove it."}},
    {"vello-no-name.json",
     {.sentence = "Preset 1 of the file has no name or no gains. Correct or remove it."}},
    {"vello-no-presets.json", {.sentence = "The file has no presets. Choose another."}},
    {"vello-not-a-list.json", {.sentence = "“presets” in the file is not a list. Export the presets again."}},
    {"empty.txt", {.sentence = kEmpty}},
    {"blank.txt", {.sentence = kEmpty}},
    {"binary.bin", {.sentence = kNoText}},
    {"zeros.bin", {.sentence = kNoText}},
    {"utf16-without-mark.txt", {.sentence = kNoText}},
    {"prose.txt", {.sentence = kNoCurve}},
    {"table.csv", {.sentence = kNoCurve}},
};

std::string readCase(const std::string& name) {
    std::ifstream file(std::filesystem::path(VELLO_PRESET_FILE_CASES) / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::set<std::string> casesInFolder() {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(VELLO_PRESET_FILE_CASES))
        names.insert(entry.path().filename());
    return names;
}

/// The sentence, or "" with the presets in `presets`.
std::string sentenceOf(std::string_view content, std::vector<ImportedPreset>& presets) {
    try {
        presets = readPresetFile(content);
        return "";
    } catch (const PresetFileError& error) {
        return error.what();
    }
}

void expectCurve(const ImportedPreset& preset, const Expected& expected) {
    EXPECT_LE(preset.error.rms, expected.largestRMS);
    for (std::size_t band = 0; band < expected.gains.size(); ++band)
        EXPECT_NEAR(preset.bandGains[band], expected.gains[band], expected.gainTolerance) << "band " << band;
    std::vector<std::string> remarks;
    for (const PresetRemark& remark : preset.remarks)
        remarks.push_back(remark.text());
    EXPECT_EQ(remarks, expected.remarks);
}

TEST(PresetFileCases, AreAllExpected) {
    std::set<std::string> expected;
    for (const auto& [name, unused] : kCases)
        expected.insert(name);
    EXPECT_GE(expected.size(), 30U);
    EXPECT_EQ(casesInFolder(), expected);
}

TEST(PresetFileCases, GiveACurveOrASentence) {
    for (const auto& [name, expected] : kCases) {
        SCOPED_TRACE(name);
        std::vector<ImportedPreset> presets;
        EXPECT_EQ(sentenceOf(readCase(name), presets), expected.sentence);
        if (expected.sentence.empty() && !presets.empty())
            expectCurve(presets[0], expected);
        EXPECT_EQ(presets.empty(), !expected.sentence.empty());
    }
}

/// A few random changes of a case: bytes overwritten, removed, repeated, or cut off.
std::string mutated(std::string content, std::mt19937& random) {
    static const std::vector<std::string> splinters{"\xff",     std::string(1, '\0'),
                                                    "-",        ",",
                                                    ".",        "e999",
                                                    "1e-9",     "nan",
                                                    "inf",      ";",
                                                    ":",        "\n",
                                                    "{",        "[",
                                                    "\"",       "null",
                                                    "ON PK Fc", "Gain",
                                                    "0",        "99999999999999999999"};
    for (auto changes = 1 + random() % 6; changes > 0; --changes) {
        const std::size_t at = random() % (content.size() + 1);
        const std::size_t length = std::min<std::size_t>(random() % 40, content.size() - at);
        switch (random() % 4) {
        case 0:
            content.replace(at, std::min<std::size_t>(1, length), splinters[random() % splinters.size()]);
            break;
        case 1:
            content.erase(at, length);
            break;
        case 2:
            content.insert(at, std::string(content, at, length));
            break;
        default:
            content.insert(at, splinters[random() % splinters.size()]);
            break;
        }
    }
    return random() % 16 == 0 ? content.substr(0, random() % (content.size() + 1)) : content;
}

void expectSoundPreset(const ImportedPreset& preset) {
    for (const double gain : preset.bandGains)
        EXPECT_LE(std::abs(gain), kLargestFittedGain);
    EXPECT_TRUE(std::isfinite(preset.error.rms) && std::isfinite(preset.error.largest));
    EXPECT_LE(preset.error.rms, preset.error.largest);
    for (const PresetRemark& remark : preset.remarks)
        EXPECT_LE(remark.text().size(), 250U) << remark.text();
}

TEST(PresetFileCases, GiveACurveOrASentenceHoweverTheyAreDamaged) {
    std::mt19937 random(11);
    int curves = 0;
    int sentences = 0;
    for (const auto& [name, unused] : kCases) {
        const std::string content = readCase(name);
        for (int round = 0; round < 60; ++round) {
            std::vector<ImportedPreset> presets;
            const std::string sentence = sentenceOf(mutated(content, random), presets);
            std::ranges::for_each(presets, expectSoundPreset);
            EXPECT_NE(presets.empty(), sentence.empty()) << name;
            EXPECT_TRUE(sentence.empty() || sentence.ends_with('.')) << sentence;
            EXPECT_LE(sentence.size(), 250U) << sentence;
            ++(sentence.empty() ? curves : sentences);
        }
    }
    // Both kinds of results were tried.
    EXPECT_GT(curves, 300);
    EXPECT_GT(sentences, 300);
}

} // namespace
} // namespace vello
