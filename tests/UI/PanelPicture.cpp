// SPDX-License-Identifier: Apache-2.0
#include "Models/Localization.h"

#include "PanelScene.h"

#include <QGuiApplication>
#include <QLinearGradient>
#include <QPainter>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>

namespace vello {
namespace {

using Prepare = std::function<void(PanelScene&)>;

/// Draws an application's icon and answers its file name.
std::string icon(const PanelScene& scene, const char* name, QRgb color) {
    QImage image(64, 64, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient ground(0, 0, 0, 64);
    ground.setStops({{0, QColor(color).lighter(125)}, {1, QColor(color).darker(115)}});
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    painter.drawRoundedRect(3, 3, 58, 58, 15, 15);
    painter.setBrush(QColor(255, 255, 255, 225));
    painter.drawEllipse(18, 18, 28, 28);
    painter.end();
    const std::string file = (scene.folder / name).string() + ".png";
    image.save(QString::fromStdString(file));
    return file;
}

void startPlaying(PanelScene& scene) {
    scene.play(101, "Firefox", icon(scene, "browser", 0xe8743b));
    scene.play(102, "Rhythmbox", icon(scene, "music", 0xd4467e));
    scene.play(103, "Videos with a rather long name of the window");
    EQSettings routed;
    routed.outputDeviceUID = "monitor";
    scene.controller->updateSettings(routed, "rhythmbox");
    EQSettings bypassed;
    bypassed.isBypassed = true;
    scene.controller->updateSettings(bypassed, "firefox");
}

void showLevels(PanelScene& scene) {
    scene.mainThread.advance(std::chrono::seconds(2)); // taps follow their settings
    scene.hearNoise(0.2);
    scene.setLevel("rhythmbox", 0.7F);
    scene.setLevel("videos with a rather long name of the window", 0.3F);
    scene.tickMeters();
}

void openCard(PanelScene& scene, const std::vector<double>& gains) {
    EQSettings settings = scene.controller->settings("rhythmbox");
    settings.bandGains = gains;
    settings.volume = 0.8;
    scene.controller->updateSettings(settings, "rhythmbox");
    scene.item("rhythmbox")->toggle();
    showLevels(scene);
}

const std::vector<double> kOwnCurve{6, 4.5, 2, -1.5, 0, 1.5, 4, 12};

const std::map<std::string, Prepare> kScenes{
    {"empty", [](PanelScene&) {}},
    {"list", [](PanelScene& scene) { startPlaying(scene), showLevels(scene); }},
    {"open", [](PanelScene& scene) { startPlaying(scene), openCard(scene, kOwnCurve); }},
    {"bypassed",
     [](PanelScene& scene) {
         startPlaying(scene), openCard(scene, kOwnCurve);
         scene.item("rhythmbox")->setEqualizerEnabled(false);
     }},
    {"preset",
     [](PanelScene& scene) {
         startPlaying(scene), openCard(scene, {-2, -1, 0, 2, 4, 4, 2, 0});
     }},
    {"many",
     [](PanelScene& scene) {
         for (int number = 0; number < 16; ++number)
             scene.play(200 + number, "Application " + std::to_string(number));
     }},
};

QImage onDesktop(const QImage& panel, bool isDark) {
    QImage desktop(panel.size(), QImage::Format_RGB32);
    desktop.setDevicePixelRatio(panel.devicePixelRatio());
    QPainter painter(&desktop);
    const QSizeF size = panel.deviceIndependentSize();
    QLinearGradient sky(0, 0, size.width(), size.height());
    sky.setStops({{0, QColor(isDark ? 0x24304f : 0x9ec5e8)}, {1, QColor(isDark ? 0x4a2f4f : 0xe8c9b0)}});
    painter.fillRect(QRectF({}, size), sky);
    painter.drawImage(0, 0, panel);
    return desktop;
}

int takePicture(const std::string& scene, const std::string& look, const QString& file) {
    Appearance appearance{.isDark = look.starts_with("dark")};
    appearance.isContrastIncreased = look.ends_with("contrast");
    appearance.isTransparencyReduced = look.ends_with("opaque");
    const bool isOnboarding = scene == "onboarding" || scene == "denied";
    PanelScene panel(appearance, !isOnboarding       ? FakeCaptureAuthorization::allowed
                                 : scene == "denied" ? FakeCaptureAuthorization::denied
                                                     : FakeCaptureAuthorization::undecided);
    scene == "about" ? panel.openAbout() : panel.openPanel();
    if (const auto prepare = kScenes.find(scene); prepare != kScenes.end())
        prepare->second(panel);
    const QImage image = panel.picture();
    for (const QString& warning : panel.qmlWarnings)
        std::fprintf(stderr, "%s\n", qPrintable(warning));
    return onDesktop(image, appearance.isDark).save(file) && panel.qmlWarnings.isEmpty() ? 0 : 1;
}

} // namespace
} // namespace vello

/// panel_picture SCENE LOOK FILE.png: how the panel looks, for the eye. LOOK begins with light or dark and
/// may end with contrast or opaque. The language is that of the environment.
int main(int argumentCount, char** arguments) {
    QQuickWindow::setDefaultAlphaBuffer(true);
    QGuiApplication application(argumentCount, arguments);
    vello::setLanguage(vello::preferredLanguage([](const char* name) { return std::getenv(name); }));
    if (argumentCount != 4) {
        std::fprintf(stderr, "panel_picture SCENE light|dark[-contrast|-opaque] FILE.png\n");
        return 2;
    }
    return vello::takePicture(arguments[1], arguments[2], QString::fromLocal8Bit(arguments[3]));
}
