// SPDX-License-Identifier: Apache-2.0
#include "UI/Appearance/AppearanceChoices.h"
#include "UI/Appearance/AppearanceWords.h"

#include <gtest/gtest.h>

namespace vello {
namespace {

AppearanceChoices choices(const char* words) {
    return AppearanceWords::read(QString::fromLatin1(words)).choices;
}

TEST(AppearanceChoicesTest, TakesFromOtherPlacesOnlyWhatIsOpen) {
    const AppearanceChoices first{.isDark = false, .fontScale = 1.5};
    const AppearanceChoices second{.isDark = true, .isMotionReduced = true};
    const AppearanceChoices both{.isDark = false, .isMotionReduced = true, .fontScale = 1.5};
    EXPECT_EQ(first.orElse(second), both);
}

TEST(AppearanceChoicesTest, ReducesTransparencyWhereContrastIsIncreased) {
    EXPECT_TRUE(AppearanceChoices{.isContrastIncreased = true}.appearance().isTransparencyReduced);
    const AppearanceChoices translucent{.isContrastIncreased = true, .isTransparencyReduced = false};
    EXPECT_FALSE(translucent.appearance().isTransparencyReduced);
    EXPECT_FALSE(AppearanceChoices{}.appearance().isTransparencyReduced);
}

TEST(AppearanceChoicesTest, KeepsTheFontScaleWhereThePanelCanFollow) {
    EXPECT_EQ(AppearanceChoices{.fontScale = 0.7}.appearance().fontScale, 1.0);
    EXPECT_EQ(AppearanceChoices{.fontScale = 1.25}.appearance().fontScale, 1.25);
    EXPECT_EQ(AppearanceChoices{.fontScale = 9.0}.appearance().fontScale, 2.0);
}

TEST(AppearanceWordsTest, SetEachChoice) {
    const AppearanceChoices all = choices("dark,contrast, still\topaque,rtl scale=1.5,accent=#3584e4");
    EXPECT_EQ(all.isDark, true);
    EXPECT_EQ(all.isContrastIncreased, true);
    EXPECT_EQ(all.isMotionReduced, true);
    EXPECT_EQ(all.isTransparencyReduced, true);
    EXPECT_EQ(all.isRightToLeft, true);
    EXPECT_EQ(all.fontScale, 1.5);
    EXPECT_EQ(all.accent, QColor(0x35, 0x84, 0xe4));
}

TEST(AppearanceWordsTest, AlsoDenyAChoice) {
    const AppearanceChoices denied = choices("light no-contrast moving translucent ltr");
    EXPECT_EQ(denied.isDark, false);
    EXPECT_EQ(denied.isContrastIncreased, false);
    EXPECT_EQ(denied.isMotionReduced, false);
    EXPECT_EQ(denied.isTransparencyReduced, false);
    EXPECT_EQ(denied.isRightToLeft, false);
}

TEST(AppearanceWordsTest, LetTheLastWordOnAMatterCount) {
    EXPECT_EQ(choices("dark,light").isDark, false);
}

TEST(AppearanceWordsTest, SayNothingWhenThereAreNone) {
    EXPECT_EQ(choices(""), AppearanceChoices{});
    EXPECT_EQ(choices(" ,, "), AppearanceChoices{});
}

TEST(AppearanceWordsTest, ComplainOfWhatTheyCannotUnderstandAndTakeTheRest) {
    const AppearanceWords read = AppearanceWords::read(
        QStringLiteral("drak,opaque,scale=3,scale=big,scale=nan,accent=red,accent,=,\u202e"));
    EXPECT_EQ(read.choices, AppearanceChoices{.isTransparencyReduced = true});
    ASSERT_EQ(read.complaints.size(), 8);
    EXPECT_EQ(read.complaints[0],
              QStringLiteral("\"drak\" is none of dark, light, contrast, no-contrast, still, "
                             "moving, opaque, translucent, rtl, ltr, scale=, accent="));
    EXPECT_EQ(read.complaints[1],
              QStringLiteral("\"scale=3\" is not a scale from 1 to 2, as in \"scale=1.5\""));
    EXPECT_EQ(read.complaints[4], QStringLiteral("\"accent=red\" is not a colour as in \"accent=#3584e4\""));
}

} // namespace
} // namespace vello
