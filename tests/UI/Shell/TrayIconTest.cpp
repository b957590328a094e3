// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/TrayIcon.h"

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>

namespace vello {
namespace {

double luminance(const QColor& colour) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

double contrast(const QColor& one, const QColor& other) {
    const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
    return (light + 0.05) / (dark + 0.05);
}

/// The share of the icon's square with a contrast of at least 3 to 1 to a bar of this colour, as the
/// accessibility guidelines require for symbols.
double visibleShare(const QIcon& icon, int size, const QColor& bar) {
    QImage image(size, size, QImage::Format_ARGB32);
    image.fill(bar);
    QPainter painter(&image);
    painter.drawPixmap(0, 0, icon.pixmap(QSize(size, size), 1.0));
    painter.end();
    int visible = 0;
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x)
            visible += contrast(image.pixelColor(x, y), bar) >= 3.0 ? 1 : 0;
    return static_cast<double>(visible) / (size * size);
}

TEST(TrayIconTest, StandsOutFromEveryBarFromBlackToWhite) {
    const QIcon icon = trayIcon();
    for (const int size : kTrayIconSizes)
        for (int grey = 0; grey <= 255; grey += 15)
            EXPECT_GE(visibleShare(icon, size, QColor(grey, grey, grey)), 0.07) << size << " on " << grey;
}

TEST(TrayIconTest, IsClearBesideItsDrawing) {
    for (const int size : kTrayIconSizes) {
        const QImage image = trayIcon().pixmap(QSize(size, size), 1.0).toImage();
        EXPECT_EQ(qAlpha(image.pixel(0, 0)), 0) << size;
        EXPECT_EQ(qAlpha(image.pixel(size - 1, size - 1)), 0) << size;
    }
}

class SymbolicTrayIconTest : public testing::Test {
protected:
    SymbolicTrayIconTest() {
        for (const char* const name : {"XDG_DATA_HOME", "XDG_DATA_DIRS"})
            qputenv(name, QByteArray::fromStdString(folder_.path().string()));
    }
    ~SymbolicTrayIconTest() override {
        for (const char* const name : {"XDG_DATA_HOME", "XDG_DATA_DIRS"})
            qunsetenv(name);
    }

    void install() const {
        const auto icons = folder_.path() / "icons/hicolor/symbolic/apps";
        std::filesystem::create_directories(icons);
        std::ofstream(icons / "com.quorvin.Vello-symbolic.svg") << "<svg/>";
    }

    TemporaryFolder folder_;
};

TEST_F(SymbolicTrayIconTest, IsNamedWhereTheDesktopPaintsSymbolsInItsOwnColour) {
    install();
    EXPECT_EQ(symbolicTrayIconName(QStringLiteral("KDE")), QStringLiteral("com.quorvin.Vello-symbolic"));
    EXPECT_EQ(symbolicTrayIconName(QStringLiteral("ubuntu:GNOME")),
              QStringLiteral("com.quorvin.Vello-symbolic"));
}

TEST_F(SymbolicTrayIconTest, IsNotNamedWhereItMightBeDarkOnDark) {
    install();
    for (const char* const desktop : {"", "XFCE", "LXQt", "sway"})
        EXPECT_EQ(symbolicTrayIconName(QString::fromUtf8(desktop)), QString()) << desktop;
}

TEST_F(SymbolicTrayIconTest, IsNotNamedWhereItIsNotInstalled) {
    EXPECT_EQ(symbolicTrayIconName(QStringLiteral("KDE")), QString());
}

} // namespace
} // namespace vello
