// SPDX-License-Identifier: Apache-2.0
#include "UI/Appearance/XSettingsChoices.h"

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <QDataStream>
#include <QIODevice>

namespace vello {
namespace {

/// Writes the property as a settings manager does.
QByteArray written(const XSettings& settings, QDataStream::ByteOrder order) {
    QByteArray property;
    QDataStream out(&property, QIODevice::WriteOnly);
    out.setByteOrder(order);
    const auto writePadded = [&out](const QByteArray& text) {
        out.writeRawData(text.constData(), static_cast<int>(text.size()));
        for (qsizetype i = text.size(); i % 4 != 0; ++i)
            out << quint8(0);
    };
    out << quint8(order == QDataStream::LittleEndian ? 0 : 1) << quint8(0) << quint16(0) << quint32(7)
        << static_cast<quint32>(settings.size() + 1);
    for (auto setting = settings.begin(); setting != settings.end(); ++setting) {
        const bool isText = setting->typeId() == QMetaType::QString;
        const QByteArray name = setting.key().toUtf8();
        out << quint8(isText ? 1 : 0) << quint8(0) << static_cast<quint16>(name.size());
        writePadded(name);
        out << quint32(7);
        if (!isText) {
            out << static_cast<qint32>(setting->toInt());
            continue;
        }
        const QByteArray text = setting->toString().toUtf8();
        out << static_cast<quint32>(text.size());
        writePadded(text);
    }
    // A colour, which is not used.
    out << quint8(2) << quint8(0) << quint16(3);
    writePadded("Odd");
    out << quint32(7) << quint64(0x1234);
    return property;
}

const XSettings kSome{
    {"Net/ThemeName", "Greybird-dark"}, {"Gtk/FontName", "Ünï Sans Bold 13"}, {"Xft/DPI", -5}};

TEST(XSettingsTest, AreReadInBothByteOrders) {
    for (const auto order : {QDataStream::LittleEndian, QDataStream::BigEndian})
        EXPECT_EQ(readXSettings(written(kSome, order)), kSome);
}

TEST(XSettingsTest, AreEmptyWhenTheyAreCutOrSenseless) {
    const QByteArray whole = written(kSome, QDataStream::LittleEndian);
    for (qsizetype size = 0; size < whole.size(); ++size)
        EXPECT_TRUE(readXSettings(whole.left(size)).isEmpty()) << size;
    for (qsizetype place = 0; place < whole.size(); ++place) {
        QByteArray damaged = whole;
        damaged[place] = '\xff';
        EXPECT_LE(readXSettings(damaged).size(), kSome.size()) << place;
    }
}

TEST(XSettingsChoicesTest, FollowTheThemesName) {
    for (const char* const dark : {"Arc-Dark", "Mint-Y-Dark-Aqua", "HighContrastInverse"})
        EXPECT_EQ(xSettingsChoices({{"Net/ThemeName", dark}}).isDark, true) << dark;
    for (const char* const other : {"Greybird", "Darkness", "", "../.."})
        EXPECT_EQ(xSettingsChoices({{"Net/ThemeName", other}}).isDark, std::nullopt) << other;
    EXPECT_EQ(xSettingsChoices({{"Net/ThemeName", "HighContrast"}}).isContrastIncreased, true);
    EXPECT_EQ(xSettingsChoices({{"Gtk/ApplicationPreferDarkTheme", 1}}).isDark, true);
    EXPECT_EQ(xSettingsChoices({}), AppearanceChoices());
}

TEST(XSettingsChoicesTest, FollowTheColoursOfTheScheme) {
    const AppearanceChoices choices = xSettingsChoices(
        {{"Net/ThemeName", "Anything-dark"},
         {"Gtk/ColorScheme", "base_color:#fff\nbg_color:#eeeeee; fg_color: #222;selected_bg_color:#cc3311"}});
    EXPECT_EQ(choices.isDark, false) << "the colours count, not the name";
    EXPECT_EQ(choices.accent, QColor(0xcc, 0x33, 0x11));
}

TEST(XSettingsChoicesTest, FollowTheColoursInTheFileOfTheTheme) {
    const TemporaryFolder folder;
    qputenv("XDG_DATA_DIRS", QByteArray::fromStdString(folder.path().string()));
    writeTestFile(folder / "themes/Night/gtk-2.0/gtkrc",
                  "# a theme\ngtk-color-scheme = \"bg_color:#202020\\nfg_color:#e0e0e0\"\n"
                  "gtk_color_scheme=\"selected_bg_color: #398ee7\"\n");
    const AppearanceChoices choices = xSettingsChoices({{"Net/ThemeName", "Night"}});
    qunsetenv("XDG_DATA_DIRS");
    EXPECT_EQ(choices.isDark, true);
    EXPECT_EQ(choices.accent, QColor(0x39, 0x8e, 0xe7));
}

TEST(XSettingsChoicesTest, FollowTheFontAndTheAnimations) {
    const auto scale = [](const char* font) { return xSettingsChoices({{"Gtk/FontName", font}}).fontScale; };
    EXPECT_EQ(scale("Sans 11"), 1.0);
    EXPECT_EQ(scale("Noto Sans Bold 16.5"), 1.5);
    for (const char* const odd : {"", "Sans", "Sans 0", "Sans -3", "Sans nan", "Sans inf", "Sans 1e99"})
        EXPECT_EQ(scale(odd), std::nullopt) << odd;
    EXPECT_EQ(xSettingsChoices({{"Gtk/EnableAnimations", 0}}).isMotionReduced, true);
    EXPECT_EQ(xSettingsChoices({{"Gtk/EnableAnimations", 1}}).isMotionReduced, false);
}

} // namespace
} // namespace vello
