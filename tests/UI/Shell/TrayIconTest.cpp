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
#include <functional>
#include <map>
#include <utility>
#include <vector>

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

QImage onBar(const QIcon& icon, int size, const QColor& bar) {
    QImage image(size, size, QImage::Format_ARGB32);
    image.fill(bar);
    QPainter painter(&image);
    painter.drawPixmap(0, 0, icon.pixmap(QSize(size, size), 1.0));
    return image;
}

/// The share of the icon's square with a contrast of at least 3 to 1 to a bar of this colour, as the
/// accessibility guidelines require for symbols.
double visibleShare(const QIcon& icon, int size, const QColor& bar) {
    const QImage image = onBar(icon, size, bar);
    int visible = 0;
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x)
            visible += contrast(image.pixelColor(x, y), bar) >= 3.0 ? 1 : 0;
    return static_cast<double>(visible) / (size * size);
}

double strongestContrast(const QIcon& icon, int size, const QColor& bar) {
    const QImage image = onBar(icon, size, bar);
    double strongest = 1.0;
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x)
            strongest = std::max(strongest, contrast(image.pixelColor(x, y), bar));
    return strongest;
}

TEST(TrayIconTest, StandsOutFromEveryBarFromBlackToWhite) {
    const QIcon icon = trayIcon(TrayIconLight::full);
    for (const int size : kTrayIconSizes)
        for (int grey = 0; grey <= 255; grey += 15)
            EXPECT_GE(visibleShare(icon, size, QColor(grey, grey, grey)), 0.07) << size << " on " << grey;
}

TEST(TrayIconTest, IsNotBlackOnAWhiteBar) {
    for (const int size : kTrayIconSizes) {
        const double strongest = strongestContrast(trayIcon(TrayIconLight::full), size, Qt::white);
        EXPECT_GE(strongest, 3.0) << size;
        EXPECT_LE(strongest, 7.0) << size;
    }
}

TEST(TrayIconTest, IsDrawnInWholePixels) {
    for (const int size : {16, 22, 24}) {
        const QImage image = trayIcon(TrayIconLight::full).pixmap(QSize(size, size), 1.0).toImage();
        std::map<QRgb, int> colours;
        for (int y = 0; y < size; ++y)
            for (int x = 0; x < size; ++x)
                ++colours[image.pixel(x, y)];
        std::vector<int> counts;
        for (const auto& [colour, count] : colours)
            counts.push_back(count);
        std::ranges::sort(counts, std::greater());
        // The clear ground, the rim and the symbol; the rest are round corners.
        EXPECT_GE(counts.at(0) + counts.at(1) + counts.at(2), size * size * 85 / 100) << size;
    }
}

TEST(TrayIconTest, IsDimmedWhileTheMasterSwitchIsOff) {
    for (const int size : kTrayIconSizes)
        for (const QColor bar : {QColor(Qt::black), QColor(Qt::white)}) {
            const double dimmed = strongestContrast(trayIcon(TrayIconLight::dimmed), size, bar);
            EXPECT_LT(dimmed, strongestContrast(trayIcon(TrayIconLight::full), size, bar) / 1.5) << size;
            EXPECT_GT(dimmed, 1.5) << "still there";
        }
}

TEST(TrayIconTest, IsClearBesideItsDrawing) {
    for (const int size : kTrayIconSizes) {
        const QImage image = trayIcon(TrayIconLight::full).pixmap(QSize(size, size), 1.0).toImage();
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
        for (const char* const name :
             {"com.quorvin.Vello-symbolic.svg", "com.quorvin.Vello-off-symbolic.svg"})
            std::ofstream(icons / name) << "<svg/>";
    }

    TemporaryFolder folder_;
};

TEST_F(SymbolicTrayIconTest, IsNamedWhereTheDesktopPaintsSymbolsInItsOwnColour) {
    install();
    for (const char* const desktop : {"KDE", "ubuntu:GNOME"})
        for (const auto& [light, name] : {std::pair(TrayIconLight::full, "com.quorvin.Vello-symbolic"),
                                          std::pair(TrayIconLight::dimmed, "com.quorvin.Vello-off-symbolic")})
            EXPECT_EQ(symbolicTrayIconName(QString::fromUtf8(desktop), light), QString::fromUtf8(name));
}

TEST_F(SymbolicTrayIconTest, IsNotNamedWhereItMightBeDarkOnDark) {
    install();
    for (const char* const desktop : {"", "XFCE", "LXQt", "sway"})
        EXPECT_EQ(symbolicTrayIconName(QString::fromUtf8(desktop), TrayIconLight::full), QString())
            << desktop;
}

TEST_F(SymbolicTrayIconTest, IsNotNamedWhereItIsNotInstalled) {
    EXPECT_EQ(symbolicTrayIconName(QStringLiteral("KDE"), TrayIconLight::full), QString());
}

} // namespace
} // namespace vello
