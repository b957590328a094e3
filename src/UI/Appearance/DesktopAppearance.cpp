// SPDX-License-Identifier: Apache-2.0
#include "UI/Appearance/DesktopAppearance.h"

#include "Foundation/Localization.h"
#include "UI/Appearance/AppearanceWords.h"

#include <QEvent>
#include <QFontInfo>
#include <QGuiApplication>
#include <QLocale>
#include <QPalette>
#include <QScreen>

#include <algorithm>

namespace vello {
namespace {

/// Default desktop fonts have 9 to 11 points, which give texts their normal sizes. In pixels: 11 points at 96
/// dots per inch.
constexpr double kNormalFontSize = 11.0 * 96.0 / 72.0;
/// The highlight of the toolkit's built-in palette. It is not the user's choice.
constexpr QRgb kToolkitHighlight = 0xff308cc6;

bool isSessionRightToLeft() {
    const QStringList languages = QLocale::system().uiLanguages();
    return !languages.isEmpty() && QLocale(languages.first()).textDirection() == Qt::RightToLeft;
}

/// On X11 GNOME's text scale is also part of the screen's scale, through its dots per inch. It must not count
/// twice.
double scaleFromScreen() {
    const QScreen* const screen = QGuiApplication::primaryScreen();
    return screen && QGuiApplication::platformName() == QLatin1String("xcb") ? screen->devicePixelRatio()
                                                                             : 1.0;
}

/// A portal selects its settings backend by the desktop's name. Without a name, starting the portal would be
/// useless.
SettingsPortal::Missing missingPortal() {
    return qEnvironmentVariableIsEmpty("XDG_CURRENT_DESKTOP") ? SettingsPortal::Missing::awaited
                                                              : SettingsPortal::Missing::started;
}

} // namespace

void adoptLayoutDirection() {
    if (isLanguageRightToLeft())
        QGuiApplication::setLayoutDirection(Qt::RightToLeft);
}

AppearanceChoices toolkitChoices() {
    const QPalette palette = QGuiApplication::palette();
    AppearanceChoices choices;
    choices.isDark =
        palette.color(QPalette::Window).lightnessF() < palette.color(QPalette::WindowText).lightnessF();
    const QColor highlight = palette.color(QPalette::Active, QPalette::Highlight);
    if (highlight.rgb() != kToolkitHighlight)
        choices.accent = QColor::fromRgb(highlight.rgb());
    choices.isRightToLeft = QGuiApplication::layoutDirection() == Qt::RightToLeft || isSessionRightToLeft();
    choices.fontScale = QFontInfo(QGuiApplication::font()).pixelSize() / kNormalFontSize;
    return choices;
}

DesktopAppearance::DesktopAppearance(const QDBusConnection& connection, const QString& words)
    : portal_(connection, missingPortal()), xSettings_(XSettingsWatch::ofToolkit()) {
    const AppearanceWords read = AppearanceWords::read(words);
    for (const QString& complaint : read.complaints)
        qWarning("VELLO_APPEARANCE: %s", qPrintable(complaint));
    words_ = read.choices;
    appearance_ = now();
    connect(&portal_, &SettingsPortal::changed, this, &DesktopAppearance::review);
    if (xSettings_)
        connect(xSettings_.get(), &XSettingsWatch::changed, this, &DesktopAppearance::review);
    connect(qGuiApp, &QGuiApplication::layoutDirectionChanged, this, &DesktopAppearance::review);
    qGuiApp->installEventFilter(this);
}

Appearance DesktopAppearance::now() const {
    const AppearanceChoices xSettings =
        xSettings_ ? xSettingsChoices(xSettings_->settings()) : AppearanceChoices();
    const AppearanceChoices desktop = xSettings.orElse(toolkitChoices());
    AppearanceChoices portal = portalChoices(portal_.settings());
    if (portal.fontScale)
        portal.fontScale = std::max(*portal.fontScale / scaleFromScreen(), desktop.fontScale.value_or(1.0));
    return words_.orElse(portal).orElse(desktop).appearance();
}

void DesktopAppearance::review() {
    const Appearance next = now();
    if (next == appearance_)
        return;
    appearance_ = next;
    emit changed();
}

bool DesktopAppearance::eventFilter(QObject* watched, QEvent* event) {
    const bool isOfToolkit =
        event->type() == QEvent::ApplicationPaletteChange || event->type() == QEvent::ApplicationFontChange;
    if (isOfToolkit && watched == qGuiApp)
        review();
    return false;
}

} // namespace vello
