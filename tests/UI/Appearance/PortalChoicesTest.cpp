// SPDX-License-Identifier: Apache-2.0
#include "UI/Appearance/PortalChoices.h"

#include <gtest/gtest.h>

#include <limits>

namespace vello {
namespace {

const QString kCommon = QStringLiteral("org.freedesktop.appearance");
const QString kGnome = QStringLiteral("org.gnome.desktop.interface");
const QString kGnomeAccess = QStringLiteral("org.gnome.desktop.a11y.interface");
const QString kKde = QStringLiteral("org.kde.kdeglobals.KDE");
const QString kKdeGeneral = QStringLiteral("org.kde.kdeglobals.General");

AppearanceChoices choices(const QString& space, const char* key, const QVariant& value) {
    return portalChoices({{space, {{QLatin1String(key), value}}}});
}

TEST(PortalChoicesTest, SaysNothingWithoutSettings) {
    EXPECT_EQ(portalChoices({}), AppearanceChoices{});
}

TEST(PortalChoicesTest, ReadsLightAndDarkFromEachDesktop) {
    EXPECT_EQ(choices(kCommon, "color-scheme", 1U).isDark, true);
    EXPECT_EQ(choices(kCommon, "color-scheme", 2U).isDark, false);
    EXPECT_EQ(choices(kCommon, "color-scheme", 0U).isDark, std::nullopt);
    EXPECT_EQ(choices(kGnome, "color-scheme", "prefer-dark").isDark, true);
    EXPECT_EQ(choices(kGnome, "color-scheme", "prefer-light").isDark, false);
    EXPECT_EQ(choices(kGnome, "color-scheme", "default").isDark, std::nullopt);
    EXPECT_EQ(choices(kGnome, "gtk-theme", "Adwaita-dark").isDark, true);
    EXPECT_EQ(choices(kGnome, "gtk-theme", "HighContrastInverse").isDark, true);
    EXPECT_EQ(choices(kGnome, "gtk-theme", "Adwaita").isDark, std::nullopt);
}

TEST(PortalChoicesTest, PrefersTheDesktopsCommonKeys) {
    const AppearanceChoices read =
        portalChoices({{kCommon, {{QStringLiteral("color-scheme"), 2U}}},
                       {kGnome, {{QStringLiteral("color-scheme"), QStringLiteral("prefer-dark")}}}});
    EXPECT_EQ(read.isDark, false);
}

TEST(PortalChoicesTest, ReadsTheAccentFromEachDesktop) {
    EXPECT_EQ(choices(kCommon, "accent-color", QVariantList{1.0, 0.0, 0.2}).accent, QColor(255, 0, 51));
    EXPECT_EQ(choices(kGnome, "accent-color", "green").accent, QColor(0x3a, 0x94, 0x4a));
    EXPECT_EQ(choices(kKdeGeneral, "AccentColor", "61,174,233").accent, QColor(61, 174, 233));
    EXPECT_EQ(choices(kKdeGeneral, "AccentColor", "61, 174, 233, 255").accent, QColor(61, 174, 233));
}

TEST(PortalChoicesTest, HasNoAccentWhereTheSharesAreOutOfRange) {
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(choices(kCommon, "accent-color", QVariantList{-1.0, -1.0, -1.0}).accent, std::nullopt);
    EXPECT_EQ(choices(kCommon, "accent-color", QVariantList{0.0, 0.0, 1.01}).accent, std::nullopt);
    EXPECT_EQ(choices(kCommon, "accent-color", QVariantList{0.0, notANumber, 1.0}).accent, std::nullopt);
    EXPECT_EQ(choices(kCommon, "accent-color", QVariantList{0.0, 1.0}).accent, std::nullopt);
}

TEST(PortalChoicesTest, ReadsTheWishForContrastFromEachDesktop) {
    EXPECT_EQ(choices(kCommon, "contrast", 1U).isContrastIncreased, true);
    EXPECT_EQ(choices(kCommon, "contrast", 0U).isContrastIncreased, false);
    EXPECT_EQ(choices(kGnomeAccess, "high-contrast", true).isContrastIncreased, true);
    EXPECT_EQ(choices(kGnomeAccess, "high-contrast", false).isContrastIncreased, false);
    EXPECT_EQ(choices(kGnome, "gtk-theme", "HighContrast").isContrastIncreased, true);
    EXPECT_EQ(choices(kGnome, "gtk-theme", "Adwaita").isContrastIncreased, std::nullopt);
}

TEST(PortalChoicesTest, ReadsTheWishForLessMotionFromEachDesktop) {
    EXPECT_EQ(choices(kCommon, "reduced-motion", 1U).isMotionReduced, true);
    EXPECT_EQ(choices(kCommon, "reduced-motion", 0U).isMotionReduced, false);
    EXPECT_EQ(choices(kGnome, "enable-animations", false).isMotionReduced, true);
    EXPECT_EQ(choices(kGnome, "enable-animations", true).isMotionReduced, false);
    EXPECT_EQ(choices(kKde, "AnimationDurationFactor", "0").isMotionReduced, true);
    EXPECT_EQ(choices(kKde, "AnimationDurationFactor", "0.5").isMotionReduced, false);
}

TEST(PortalChoicesTest, TakesAWishForAidFromAnyPlaceThatHasIt) {
    const AppearanceChoices read =
        portalChoices({{kCommon, {{QStringLiteral("contrast"), 0U}, {QStringLiteral("reduced-motion"), 0U}}},
                       {kGnome, {{QStringLiteral("enable-animations"), false}}},
                       {kGnomeAccess, {{QStringLiteral("high-contrast"), true}}}});
    EXPECT_EQ(read.isContrastIncreased, true);
    EXPECT_EQ(read.isMotionReduced, true);
}

TEST(PortalChoicesTest, ReadsTheScaleOfTexts) {
    EXPECT_EQ(choices(kGnome, "text-scaling-factor", 1.25).fontScale, 1.25);
}

TEST(PortalChoicesTest, TakesValuesOfAnotherKindForNone) {
    const double infinity = std::numeric_limits<double>::infinity();
    const QVariantList odd{
        QVariant(),    QStringLiteral("odd"), -7, 1e300, infinity, QByteArray("\xff"), QVariantList{1, 2},
        QVariantMap{}, QString(100000, u'9')};
    for (const QVariant& value : odd) {
        EXPECT_EQ(choices(kCommon, "color-scheme", value).isDark, std::nullopt);
        EXPECT_EQ(choices(kGnome, "color-scheme", value).isDark, std::nullopt);
        EXPECT_EQ(choices(kGnome, "gtk-theme", value), AppearanceChoices{});
        EXPECT_EQ(choices(kCommon, "accent-color", value).accent, std::nullopt);
        EXPECT_EQ(choices(kGnome, "accent-color", value).accent, std::nullopt);
        EXPECT_EQ(choices(kKdeGeneral, "AccentColor", value).accent, std::nullopt);
        EXPECT_EQ(choices(kCommon, "contrast", value).isContrastIncreased, std::nullopt);
        EXPECT_EQ(choices(kGnomeAccess, "high-contrast", value).isContrastIncreased, std::nullopt);
        EXPECT_EQ(choices(kGnome, "enable-animations", value).isMotionReduced, std::nullopt);
        const double scale = choices(kGnome, "text-scaling-factor", value).appearance().fontScale;
        EXPECT_TRUE(scale >= kSmallestFontScale && scale <= kLargestFontScale);
    }
    EXPECT_EQ(choices(kKdeGeneral, "AccentColor", "300,0,0").accent, std::nullopt);
    EXPECT_EQ(choices(kKdeGeneral, "AccentColor", "1,2").accent, std::nullopt);
    EXPECT_EQ(choices(kKde, "AnimationDurationFactor", "-1").isMotionReduced, std::nullopt);
    EXPECT_EQ(choices(kGnome, "text-scaling-factor", 0.0).fontScale, std::nullopt);
    EXPECT_EQ(choices(kGnome, "text-scaling-factor", true).fontScale, std::nullopt);
}

} // namespace
} // namespace vello
