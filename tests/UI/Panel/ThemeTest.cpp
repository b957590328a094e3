// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/Theme.h"

#include "UI/Appearance/ColorContrast.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace vello {
namespace {

std::vector<Appearance> looks() {
    std::vector<Appearance> result;
    for (const bool isDark : {false, true})
        for (const bool isContrastIncreased : {false, true})
            for (const bool isTransparencyReduced : {false, true})
                result.push_back({.isDark = isDark,
                                  .isContrastIncreased = isContrastIncreased,
                                  .isTransparencyReduced = isTransparencyReduced});
    return result;
}

std::string nameOf(const Appearance& look) {
    std::string name = look.isDark ? "dark" : "light";
    name += look.isContrastIncreased ? " contrast" : "";
    return name + (look.isTransparencyReduced ? " opaque" : "");
}

/// Contrast of `ink` to the background where it is hardest to read.
double worstContrast(const QColor& ink, const Theme& theme) {
    double worst = 21.0;
    for (const QColor& ground : theme.grounds())
        worst = std::min(worst, contrastRatio(laidOver(ink, ground), ground));
    return worst;
}

/// Accents that desktops offer, and other colours that a user may choose.
std::vector<QColor> accents() {
    std::vector<QColor> result{QColor(), Qt::white, Qt::black, Qt::yellow, QColor(0x35, 0x84, 0xe4)};
    std::mt19937 random(5);
    std::uniform_int_distribution channel(0, 255);
    for (int count = 0; count < 100; ++count)
        result.emplace_back(channel(random), channel(random), channel(random));
    return result;
}

TEST(ThemeTest, FollowsTheAppearance) {
    Theme theme(Appearance{});
    int changes = 0;
    QObject::connect(&theme, &Theme::changed, [&changes] { ++changes; });
    const QColor onLight = theme.primary();
    const QColor magenta(0xff, 0x40, 0xff);
    theme.setAppearance({.isDark = true, .accent = magenta});
    EXPECT_GT(theme.primary().lightnessF(), onLight.lightnessF());
    EXPECT_EQ(theme.accent().rgb(), magenta.rgb());
    EXPECT_EQ(changes, 1);
    theme.setAppearance({.isDark = true, .accent = magenta});
    EXPECT_EQ(changes, 1);
}

TEST(ThemeTest, RimsGlassFaintlyAndInThePrimaryColourWithMoreContrast) {
    EXPECT_EQ(Theme(Appearance{}).glassRim(), QColor::fromRgbF(1.0F, 1.0F, 1.0F, 0.1F));
    const Theme contrast(Appearance{.isContrastIncreased = true});
    EXPECT_EQ(contrast.glassRim(), contrast.primary());
}

TEST(ThemeTest, RimsControlsInThePrimaryColourWithMoreContrast) {
    const Theme contrast(Appearance{.isContrastIncreased = true});
    for (const QColor& rim :
         {contrast.controlRim(), contrast.thumbRim(), contrast.smallThumbRim(), contrast.accentFillRim()})
        EXPECT_EQ(rim, contrast.primary());
}

TEST(ThemeTest, HasEdgesAndWarningsThatCanBeSeen) {
    for (const Appearance& look : looks()) {
        const Theme theme(look);
        EXPECT_GE(worstContrast(theme.controlRim(), theme), kMarkContrast) << nameOf(look);
        EXPECT_GE(worstContrast(theme.warning(), theme), kMarkContrast) << nameOf(look);
    }
}

TEST(ThemeTest, HasAnOpaqueWindowOfTheSameColour) {
    for (const Appearance& look : looks()) {
        const Theme theme(look);
        EXPECT_EQ(theme.opaqueWindow().alpha(), 255) << nameOf(look);
        EXPECT_EQ(theme.opaqueWindow().rgb(), theme.window().rgb() | 0xff000000) << nameOf(look);
    }
}

TEST(ThemeTest, HasAnOpaqueMaterialWhenTransparencyIsReduced) {
    for (const bool isDark : {false, true}) {
        const Theme theme(Appearance{.isDark = isDark, .isTransparencyReduced = true});
        EXPECT_EQ(theme.glass().alpha(), 255);
        EXPECT_EQ(theme.thumb().alpha(), 255);
        EXPECT_EQ(theme.window().alpha(), 255);
    }
}

TEST(ThemeTest, ScalesTextWithTheDesktopsFont) {
    EXPECT_EQ(Theme(Appearance{}).callout(), 12);
    EXPECT_EQ(Theme(Appearance{.fontScale = 1.5}).callout(), 18);
}

TEST(ThemeTest, HasTextsThatCanBeReadInEveryLookOverEveryWallpaper) {
    for (const Appearance& look : looks()) {
        const Theme theme(look);
        const double wanted = look.isContrastIncreased ? kIncreasedContrast : kTextContrast;
        EXPECT_GE(worstContrast(theme.primary(), theme), wanted) << nameOf(look);
        EXPECT_GE(worstContrast(theme.secondary(), theme), wanted) << nameOf(look);
        EXPECT_GE(worstContrast(theme.tertiary(), theme), wanted) << nameOf(look);
    }
}

TEST(ThemeTest, HasAMakersLineThatCanStillBeToldFromItsGround) {
    for (const Appearance& look : looks()) {
        const Theme theme(look);
        QColor dimmed = theme.tertiary();
        dimmed.setAlphaF(dimmed.alphaF() * 0.85F); // as PanelFooter draws it
        EXPECT_GE(worstContrast(dimmed, theme), kMarkContrast) << nameOf(look);
    }
}

TEST(ThemeTest, OrdersItsTextsByTheirWeight) {
    for (const Appearance& look : looks()) {
        const Theme theme(look);
        EXPECT_GT(worstContrast(theme.primary(), theme), 1.1 * worstContrast(theme.secondary(), theme))
            << nameOf(look);
        EXPECT_GT(worstContrast(theme.secondary(), theme), 1.1 * worstContrast(theme.tertiary(), theme))
            << nameOf(look);
    }
}

TEST(ThemeTest, KeepsAnyAccentApartFromWhatItStandsOn) {
    for (Appearance look : looks()) {
        for (const QColor& accent : accents()) {
            look.accent = accent;
            const Theme theme(look);
            const double ofMarks = look.isContrastIncreased ? kTextContrast : kMarkContrast;
            const double ofTexts = look.isContrastIncreased ? kIncreasedContrast : kTextContrast;
            const std::string name = nameOf(look) + " " + accent.name().toStdString();
            EXPECT_GE(worstContrast(theme.accent(), theme), ofMarks) << name;
            EXPECT_GE(worstContrast(theme.accentText(), theme), ofTexts) << name;
            for (const QColor& fill :
                 {theme.accentFill(), theme.accentFillHovered(), theme.accentFillPressed()})
                EXPECT_GE(contrastRatio(theme.onAccent(), fill), ofTexts) << name;
        }
    }
}

} // namespace
} // namespace vello
