// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/EQPanelTexts.h"

#include <gtest/gtest.h>

#include <limits>

namespace vello {
namespace {

using Gains = std::vector<double>;
using Presets = std::vector<UserEQPreset>;

const Gains kBassBoost{6, 5, 3.5, 1.5, 0, 0, 0, 0};
const Gains kOwn{1, 2, 3, 4, 5, 6, 7, 8};

TEST(EQPanelTextsTest, NamesABuiltInCurveBeforeTheUsersOwn) {
    EXPECT_EQ(matchingPresetName(kBassBoost, Presets{{"Mine", kBassBoost}}), "Bass Boost");
    EXPECT_EQ(matchingPresetName(Gains(8, 0.0), Presets{}), "Flat");
}

TEST(EQPanelTextsTest, NamesTheFirstOfTheUsersThatMatches) {
    EXPECT_EQ(matchingPresetName(kOwn, Presets{{"Other", Gains(8, 1.0)}, {"First", kOwn}, {"Second", kOwn}}),
              "First");
}

TEST(EQPanelTextsTest, MatchesWithoutTolerance) {
    Gains nearlyFlat(8, 0.0);
    nearlyFlat[7] = std::numeric_limits<double>::denorm_min();
    EXPECT_EQ(matchingPresetName(nearlyFlat, Presets{}), std::nullopt);
    Gains nearlyOwn = kOwn;
    nearlyOwn[0] += 1e-12;
    EXPECT_EQ(matchingPresetName(nearlyOwn, Presets{{"Mine", kOwn}}), std::nullopt);
}

TEST(EQPanelTextsTest, ComparesLengthsToo) {
    EXPECT_EQ(matchingPresetName(kOwn, Presets{{"Short", Gains{1, 2, 3, 4, 5, 6, 7}}}), std::nullopt);
}

TEST(EQPanelTextsTest, WritesAVolumeAsTheLanguageDoes) {
    EXPECT_EQ(percentage(0.5, "en_US"), "50%");
    EXPECT_EQ(percentage(0.5, "de_DE"), "50\u00A0%");
    EXPECT_EQ(percentage(0.0, "en_US"), "0%");
    EXPECT_EQ(percentage(1.0, "en_US"), "100%");
    EXPECT_EQ(percentage(0.337, "en_US"), "34%");
    EXPECT_EQ(percentage(0.5, "C"), "50%");
}

TEST(EQPanelTextsTest, WritesAGainWithItsSignAndOneDecimal) {
    EXPECT_EQ(decibelText(3.54, "en_US"), "+3.5\u00A0dB");
    EXPECT_EQ(decibelText(-12.0, "en_US"), "\u221212.0\u00A0dB");
    EXPECT_EQ(decibelText(0.0, "en_US"), "0.0\u00A0dB");
    EXPECT_EQ(decibelText(-0.04, "en_US"), "0.0\u00A0dB") << "what is rounded to 0 has no sign";
    EXPECT_EQ(decibelText(3.5, "de_DE"), "+3,5\u00A0dB");
}

TEST(EQPanelTextsTest, HasTheSameDigitsInEveryLanguage) {
    constexpr char leftToRight[] = "\u200e";
    EXPECT_EQ(decibelText(3.5, "ar_EG"), leftToRight + std::string("+3.5\u00A0dB"));
    EXPECT_EQ(decibelText(-12.0, "ar_SA"), leftToRight + std::string("\u221212.0\u00A0dB"));
    EXPECT_EQ(percentage(0.8, "ar_EG"), std::string("80") + leftToRight + "%" + leftToRight);
    EXPECT_EQ(decimalText(1234.5, 1, "ar"), "1,234.5");
    EXPECT_EQ(decimalText(1234.5, 1, "de_DE"), "1.234,5");
    EXPECT_EQ(decimalText(0.05, 1, "en_US"), "0.1");
    EXPECT_EQ(decimalText(80.0, 0, "pl_PL"), "80");
}

TEST(EQPanelTextsTest, WritesAFrequencyWithItsUnit) {
    EXPECT_EQ(frequencyText(63), "63\u00A0Hz");
    EXPECT_EQ(frequencyText(500), "500\u00A0Hz");
    EXPECT_EQ(frequencyText(1000), "1\u00A0kHz");
    EXPECT_EQ(frequencyText(8000), "8\u00A0kHz");
}

} // namespace
} // namespace vello
