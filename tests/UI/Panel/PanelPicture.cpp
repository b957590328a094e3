// SPDX-License-Identifier: Apache-2.0
#include "Foundation/Localization.h"

#include "PanelScene.h"
#include "UI/Appearance/AppearanceWords.h"
#include "UI/Appearance/DesktopAppearance.h"
#include "Wallpaper.h"

#include <QGuiApplication>
#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>
#include <QQuickPaintedItem>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>

namespace vello {
namespace {

using Prepare = std::function<void(PanelScene&)>;

/// Draws an application's icon and returns its file name.
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
    scene.mainThread.advance(std::chrono::seconds(2)); // taps apply their settings
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

/// Presses the button with this accessible name.
void press(PanelScene& scene, const std::string& name) {
    scene.settle();
    QMetaObject::invokeMethod(scene.named(QString::fromStdString(name)), "clicked");
}

/// Opens the menu of presets, two of which are the user's.
void openUsersMenu(PanelScene& scene) {
    startPlaying(scene);
    scene.controller->saveUserPreset("Late night", std::vector<double>{2, 1, 0, 0, 1, 1, 0, -2});
    scene.controller->saveUserPreset("Open Back 600",
                                     std::vector<double>{5.4, 0.7, -0.2, 0, 0.4, -1.6, -1.4, 0.3});
    openCard(scene, {0, 0, 0, 0, 0, 0, 0, 0});
    press(scene, EQPreset(EQPreset::flat).displayName());
    scene.settle();
}

/// Puts the pointer on an entry of the open menu.
void markEntry(PanelScene& scene, const char* name) {
    QQuickItem* const entry = scene.named(QString::fromUtf8(name));
    const QPointF place = entry->mapToScene({entry->width() / 3, entry->height() - 10});
    QMouseEvent move(QEvent::MouseMove, place, place, Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(scene.window, &move);
    scene.settle();
}

/// Holds the thumb of a band.
void dragBand(PanelScene& scene) {
    scene.settle();
    QQuickItem* const band = scene.named(QString::fromStdString(localized("%1 hertz band gain", "125")));
    const QPointF place = band->mapToScene({band->width() / 2, band->height() * 0.35});
    QMouseEvent press(QEvent::MouseButtonPress, place, place, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(scene.window, &press);
}

void offer(PanelScene& scene, const char* content) {
    scene.model->presetImport()->offer(QStringLiteral("Open Back 600 ParametricEQ.txt"), content);
}

void limitToLowScreen(PanelScene& scene) {
    scene.window->setProperty("availableHeight", 492.0);
}

const std::vector<double> kOwnCurve{6, 4.5, 2, -1.5, 0, 1.5, 4, 12};

const std::map<std::string, Prepare> kScenes{
    {"empty", [](PanelScene&) {}},
    {"list", [](PanelScene& scene) { startPlaying(scene), showLevels(scene); }},
    {"open", [](PanelScene& scene) { startPlaying(scene), openCard(scene, kOwnCurve); }},
    {"clipping",
     [](PanelScene& scene) {
         startPlaying(scene), openCard(scene, kOwnCurve);
         scene.clip("rhythmbox"), scene.clip("videos with a rather long name of the window");
         scene.tickMeters();
     }},
    {"dragged", [](PanelScene& scene) { startPlaying(scene), openCard(scene, kOwnCurve), dragBand(scene); }},
    {"following",
     [](PanelScene& scene) {
         startPlaying(scene);
         EQSettings system;
         system.bandGains = {6, 5, 3, 1, 0, 0, 0, 0};
         scene.controller->updateSettings(system, std::string(kSystemSourceID));
         scene.item("videos with a rather long name of the window")->toggle();
         showLevels(scene);
     }},
    {"bypassed",
     [](PanelScene& scene) {
         startPlaying(scene), openCard(scene, kOwnCurve);
         scene.item("rhythmbox")->setEQEnabled(false);
     }},
    {"menu",
     [](PanelScene& scene) {
         startPlaying(scene), openCard(scene, {0, 0, 0, 0, 0, 0, 0, 0});
         press(scene, EQPreset(EQPreset::flat).displayName());
     }},
    {"presets", [](PanelScene& scene) { openUsersMenu(scene), markEntry(scene, "Late night"); }},
    {"deleted",
     [](PanelScene& scene) {
         openUsersMenu(scene), markEntry(scene, "Late night");
         press(scene, localized("Delete %1", "Late night"));
     }},
    {"renaming",
     [](PanelScene& scene) {
         openUsersMenu(scene), markEntry(scene, "Late night");
         press(scene, localized("Rename %1", "Late night"));
     }},
    {"import",
     [](PanelScene& scene) {
         startPlaying(scene);
         offer(scene, "Preamp: -6.2 dB\nFilter 1: ON LSC Fc 105 Hz Gain 5.0 dB Q 0.70\n"
                      "Filter 2: ON PK Fc 2800 Hz Gain -3.1 dB Q 1.80\nFilter 3: ON NO Fc 50 Hz\n");
     }},
    {"low-import",
     [](PanelScene& scene) {
         limitToLowScreen(scene);
         offer(scene, "Preamp: -6.2 dB\nFilter 1: ON LSC Fc 105 Hz Gain 36.0 dB Q 0.70\n"
                      "Filter 2: ON PK Fc 30000 Hz Gain -3.1 dB Q 1.80\nFilter 3: ON NO Fc 50 Hz\n");
     }},
    {"low-denied", limitToLowScreen},
    {"refused", [](PanelScene& scene) { startPlaying(scene), offer(scene, "Filter 1: ON PK Fc loud\n"); }},
    {"routes",
     [](PanelScene& scene) {
         startPlaying(scene), openCard(scene, kOwnCurve);
         press(scene, localized("Output route"));
     }},
    {"naming",
     [](PanelScene& scene) {
         startPlaying(scene), openCard(scene, kOwnCurve);
         press(scene, localized("Save"));
     }},
    {"foreign",
     [](PanelScene& scene) {
         scene.play(301, "\u05e0\u05d2\u05df \u05de\u05d5\u05d6\u05d9\u05e7\u05d4");
         scene.play(302, "\u0645\u0634\u063a\u0644 \u0627\u0644\u0645\u0648\u0633\u064a\u0642\u0649");
     }},
    {"failed",
     [](PanelScene& scene) { scene.loginItem.failsToChange = true, scene.model->setLaunchesAtLogin(true); }},
    {"unsaved",
     [](PanelScene& scene) {
         // The longest of these texts: another process holds the lock.
         const auto folder = scene.folder / "EQ by QUORVIN";
         std::filesystem::create_directories(folder);
         static SettingsLock other(folder / "settings.json.lock");
         (void)other.acquire();
         startPlaying(scene), showLevels(scene);
     }},
    {"preset",
     [](PanelScene& scene) {
         startPlaying(scene);
         openCard(scene, {-2, -1, 0, 2, 4, 4, 2, 0});
     }},
    {"off",
     [](PanelScene& scene) {
         startPlaying(scene), openCard(scene, kOwnCurve);
         scene.model->setProcessingEnabled(false);
     }},
    {"low",
     [](PanelScene& scene) {
         limitToLowScreen(scene);
         for (int number = 0; number < 30; ++number)
             scene.controller->saveUserPreset("Preset " + std::to_string(number),
                                              std::vector<double>(EQSettings::bandCount, number + 1.0));
         startPlaying(scene), openCard(scene, {0, 0, 0, 0, 0, 0, 0, 0});
         press(scene, EQPreset(EQPreset::flat).displayName());
     }},
    {"many",
     [](PanelScene& scene) {
         for (int number = 0; number < 16; ++number)
             scene.play(200 + number, "Application " + std::to_string(number));
     }},
};

/// A window without a screen has no alpha channel, so the background of the panel is drawn into the window.
class Backdrop : public QQuickPaintedItem {
public:
    Backdrop(QQuickWindow& window, const QString& name) : QQuickPaintedItem(window.contentItem()) {
        setSize(window.size());
        setZ(-1.0);
        image_ = wallpaper(name, window.size());
    }

    bool isNull() const { return image_.isNull(); }
    void paint(QPainter* painter) override { painter->drawImage(0, 0, image_); }

private:
    QImage image_;
};

int takePicture(const std::string& scene, const Appearance& appearance, const QString& file,
                const QString& behind) {
    const Consent consent = scene == "onboarding"       ? Consent::undecided
                            : scene.ends_with("denied") ? Consent::denied
                                                        : Consent::allowed;
    PanelScene panel(appearance, consent, VELLO_ICON_PROGRAM);
    scene == "about" ? panel.openAbout() : panel.openPanel();
    const Backdrop backdrop(*panel.window, behind);
    if (backdrop.isNull()) {
        std::fprintf(stderr, "there is no wallpaper \"%s\"\n", qPrintable(behind));
        return 2;
    }
    if (const auto prepare = kScenes.find(scene); prepare != kScenes.end())
        prepare->second(panel);
    const QImage image = panel.picture();
    for (const QString& warning : panel.qmlWarnings)
        std::fprintf(stderr, "%s\n", qPrintable(warning));
    return image.save(file) && panel.qmlWarnings.isEmpty() ? 0 : 1;
}

} // namespace
} // namespace vello

/// panel_picture SCENE LOOK FILE.png [WALLPAPER]: makes a picture of the panel for inspection. LOOK is a text
/// for AppearanceWords, such as light-contrast-scale=1.5. The language is taken from the environment.
int main(int argumentCount, char** arguments) {
    QQuickWindow::setDefaultAlphaBuffer(true);
    QGuiApplication application(argumentCount, arguments);
    vello::setLanguage(vello::preferredLanguage([](const char* name) { return std::getenv(name); }));
    vello::adoptLayoutDirection();
    if (argumentCount != 4 && argumentCount != 5) {
        std::fprintf(stderr, "panel_picture SCENE LOOK FILE.png [dusk|dawn|white|black|busy]\n");
        return 2;
    }
    auto look = vello::AppearanceWords::read(QString::fromLocal8Bit(arguments[2]).replace(u'-', u','));
    for (const QString& complaint : look.complaints)
        std::fprintf(stderr, "%s\n", qPrintable(complaint));
    if (!look.choices.isRightToLeft)
        look.choices.isRightToLeft = QGuiApplication::isRightToLeft();
    vello::Appearance appearance = look.choices.appearance();
    appearance.isMotionReduced = true; // no animation is caught halfway
    const char* const behind = argumentCount == 5 ? arguments[4] : appearance.isDark ? "dusk" : "dawn";
    return vello::takePicture(arguments[1], appearance, QString::fromLocal8Bit(arguments[3]),
                              QString::fromLocal8Bit(behind));
}
