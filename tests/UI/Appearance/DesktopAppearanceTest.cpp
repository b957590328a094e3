// SPDX-License-Identifier: Apache-2.0
#include "UI/Appearance/DesktopAppearance.h"

#include "Foundation/Localization.h"

#include "PrivateBus.h"
#include "support/FakeSettingsPortal.h"
#include "support/TemporaryFolder.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>
#include <QFont>
#include <QGuiApplication>
#include <QPalette>

namespace vello {
namespace {

const QString kCommon = QStringLiteral("org.freedesktop.appearance");
const QString kGnome = QStringLiteral("org.gnome.desktop.interface");
const QString kConnection = QStringLiteral("desktop appearance test");

class DesktopAppearanceTest : public testing::Test {
protected:
    ~DesktopAppearanceTest() override {
        QGuiApplication::setPalette(palette);
        QGuiApplication::setFont(font);
        QGuiApplication::setLayoutDirection(Qt::LayoutDirectionAuto);
        setLanguage("en");
        QDBusConnection::disconnectFromBus(kConnection);
    }

    QDBusConnection connection() const {
        return QDBusConnection::connectToBus(QString::fromStdString(bus.address()), kConnection);
    }
    static void setPalette(QColor window, QColor text, QColor highlight) {
        QPalette palette;
        palette.setColor(QPalette::Window, window);
        palette.setColor(QPalette::WindowText, text);
        palette.setColor(QPalette::Highlight, highlight);
        QGuiApplication::setPalette(palette);
    }

    const QPalette palette = QGuiApplication::palette();
    const QFont font = QGuiApplication::font();
    TemporaryFolder folder;
    session::PrivateBus bus{folder.path(), session::PrivateBus::Services::none};
    FakeSettingsPortal fake{bus.address()};
};

TEST_F(DesktopAppearanceTest, HasTheToolkitsLooksWithoutAPortal) {
    const DesktopAppearance desktop(connection(), {});
    EXPECT_EQ(desktop.appearance(), toolkitChoices().appearance());
    EXPECT_FALSE(desktop.appearance().accent.isValid());
    EXPECT_EQ(desktop.appearance().fontScale, 1.0);
}

TEST_F(DesktopAppearanceTest, FollowsTheToolkitsPaletteWithoutAPortal) {
    DesktopAppearance desktop(connection(), {});
    int changes = 0;
    QObject::connect(&desktop, &DesktopAppearance::changed, [&changes] { ++changes; });
    setPalette(Qt::black, Qt::white, Qt::magenta);
    EXPECT_TRUE(waitUntil([&] { return desktop.appearance().isDark; }));
    EXPECT_EQ(desktop.appearance().accent, QColor(Qt::magenta));
    EXPECT_EQ(changes, 1);
}

TEST_F(DesktopAppearanceTest, FollowsThePortalBeforeThePalette) {
    setPalette(Qt::black, Qt::white, Qt::magenta);
    fake.settings[kCommon][QStringLiteral("color-scheme")] = 2U;
    fake.appear();
    const DesktopAppearance desktop(connection(), {});
    EXPECT_TRUE(desktop.appearance().isDark);
    EXPECT_TRUE(waitUntil([&] { return !desktop.appearance().isDark; }));
    EXPECT_EQ(desktop.appearance().accent, QColor(Qt::magenta));
    fake.set(kCommon, QStringLiteral("color-scheme"), 0U);
    EXPECT_TRUE(waitUntil([&] { return desktop.appearance().isDark; }));
}

TEST_F(DesktopAppearanceTest, FollowsEverySettingOfThePortalAsItChanges) {
    fake.appear();
    const DesktopAppearance desktop(connection(), {});
    const auto awaits = [&desktop](auto isMet) {
        return waitUntil([&] { return isMet(desktop.appearance()); });
    };
    fake.set(kCommon, QStringLiteral("accent-color"), FakeSettingsPortal::color(1.0, 0.0, 0.0));
    EXPECT_TRUE(awaits([](const Appearance& now) { return now.accent == QColor(Qt::red); }));
    fake.set(kCommon, QStringLiteral("accent-color"), FakeSettingsPortal::color(-1.0, -1.0, -1.0));
    EXPECT_TRUE(awaits([](const Appearance& now) { return !now.accent.isValid(); }));
    fake.set(kGnome, QStringLiteral("enable-animations"), false);
    EXPECT_TRUE(awaits([](const Appearance& now) { return now.isMotionReduced; }));
    fake.set(kGnome, QStringLiteral("text-scaling-factor"), 1.5);
    EXPECT_TRUE(awaits([](const Appearance& now) { return now.fontScale == 1.5; }));
    fake.set(kCommon, QStringLiteral("contrast"), 1U);
    EXPECT_TRUE(awaits([](const Appearance& now) { return now.isContrastIncreased; }));
    EXPECT_TRUE(desktop.appearance().isTransparencyReduced);
}

TEST_F(DesktopAppearanceTest, LetsTheUsersWordsComeFirst) {
    fake.settings[kCommon][QStringLiteral("color-scheme")] = 1U;
    fake.settings[kCommon][QStringLiteral("contrast")] = 1U;
    fake.appear();
    const DesktopAppearance desktop(connection(), QStringLiteral("light,translucent,scale=1.25"));
    EXPECT_TRUE(waitUntil([&] { return desktop.appearance().isContrastIncreased; }));
    EXPECT_FALSE(desktop.appearance().isDark);
    EXPECT_FALSE(desktop.appearance().isTransparencyReduced);
    EXPECT_EQ(desktop.appearance().fontScale, 1.25);
}

TEST_F(DesktopAppearanceTest, TakesTheLargerOfTheFontScales) {
    QFont large = font;
    large.setPixelSize(22);
    QGuiApplication::setFont(large);
    fake.settings[kGnome][QStringLiteral("text-scaling-factor")] = 1.0;
    fake.settings[kCommon][QStringLiteral("contrast")] = 1U;
    fake.appear();
    const DesktopAppearance desktop(connection(), {});
    ASSERT_TRUE(waitUntil([&] { return desktop.appearance().isContrastIncreased; }));
    EXPECT_NEAR(desktop.appearance().fontScale, 1.5, 0.001);
    fake.set(kGnome, QStringLiteral("text-scaling-factor"), 1.75);
    EXPECT_TRUE(waitUntil([&] { return desktop.appearance().fontScale == 1.75; }));
}

TEST_F(DesktopAppearanceTest, FollowsTheToolkitsFontAndLayoutDirection) {
    const DesktopAppearance desktop(connection(), {});
    QFont large = font;
    large.setPixelSize(22);
    QGuiApplication::setFont(large);
    EXPECT_TRUE(waitUntil([&] { return desktop.appearance().fontScale > 1.4; }));
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    EXPECT_TRUE(waitUntil([&] { return desktop.appearance().isRightToLeft; }));
}

TEST_F(DesktopAppearanceTest, FollowsTheDirectionOfTheLanguage) {
    const DesktopAppearance desktop(connection(), {});
    setLanguage("de");
    adoptLayoutDirection();
    EXPECT_FALSE(desktop.appearance().isRightToLeft);
    setLanguage("ar");
    adoptLayoutDirection();
    EXPECT_TRUE(QGuiApplication::isRightToLeft());
    EXPECT_TRUE(waitUntil([&] { return desktop.appearance().isRightToLeft; }));
}

} // namespace
} // namespace vello
