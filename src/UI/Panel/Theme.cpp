// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/Theme.h"

#include "UI/Appearance/ColorContrast.h"
#include "UI/Panel/PanelEngine.h"

#include <QFontDatabase>

#include <algorithm>
#include <array>
#include <cmath>

namespace vello {
namespace {

constexpr QRgb kOwnAccentOnDark = 0xff4fa8ff;
constexpr QRgb kOwnAccentOnLight = 0xff1676e8;

QColor white(double alpha) {
    return QColor::fromRgbF(1.0F, 1.0F, 1.0F, static_cast<float>(alpha));
}

QColor black(double alpha) {
    return QColor::fromRgbF(0.0F, 0.0F, 0.0F, static_cast<float>(alpha));
}

} // namespace

Theme::Theme(const Appearance& appearance, QObject* parent)
    : QObject(parent), appearance_(appearance), accents_(derivedAccents()) {}

Theme* Theme::create(QQmlEngine* engine, QJSEngine*) {
    auto* const panelEngine = qobject_cast<PanelEngine*>(engine);
    if (!panelEngine)
        return new Theme(Appearance{});
    QJSEngine::setObjectOwnership(&panelEngine->theme(), QJSEngine::CppOwnership);
    return &panelEngine->theme();
}

void Theme::setAppearance(const Appearance& appearance) {
    if (appearance == appearance_)
        return;
    appearance_ = appearance;
    accents_ = derivedAccents();
    emit changed();
}

QColor Theme::ink(double alpha) const {
    return isDark() ? white(alpha) : black(alpha);
}

QColor Theme::primary() const {
    return isContrastIncreased() ? ink(1.0) : ink(isDark() ? 0.92 : 0.87);
}

QColor Theme::secondary() const {
    return ink(isContrastIncreased() ? 0.92 : isDark() ? 0.72 : 0.68);
}

QColor Theme::tertiary() const {
    return ink(isContrastIncreased() ? 0.8 : isDark() ? 0.58 : 0.57);
}

QColor Theme::quaternary() const {
    return ink(isContrastIncreased() ? 0.35 : isDark() ? 0.16 : 0.13);
}

Theme::Accents Theme::derivedAccents() const {
    const QColor own = QColor::fromRgb(isDark() ? kOwnAccentOnDark : kOwnAccentOnLight);
    const QColor chosen = appearance_.accent.isValid() ? appearance_.accent : own;
    // VELLO's own accent has white text on it in dark mode as well.
    const QColor surface = appearance_.accent.isValid() ? chosen : QColor::fromRgb(kOwnAccentOnLight);
    const double textContrast = isContrastIncreased() ? kIncreasedContrast : kTextContrast;
    const bool isWrittenOnInWhite = contrastRatio(surface, Qt::white) >= kMarkContrast;
    const QColor onFill = isWrittenOnInWhite ? Qt::white : Qt::black;
    return {.mark = standingOut(chosen, grounds(), isContrastIncreased() ? kTextContrast : kMarkContrast),
            .text = standingOut(chosen, grounds(), textContrast),
            .fill = standingOut(surface, std::array{onFill}, textContrast),
            .onFill = onFill};
}

// Moves away from the text's colour, so that the contrast only grows.
QColor Theme::accentFillHovered() const {
    return mixed(accentFill(), onAccent() == Qt::white ? Qt::black : Qt::white, 0.08);
}

QColor Theme::accentFillPressed() const {
    return mixed(accentFill(), onAccent() == Qt::white ? Qt::black : Qt::white, 0.2);
}

QColor Theme::window() const {
    const double alpha = isTransparencyReduced() ? 1.0 : 0.95;
    return isDark() ? QColor::fromRgbF(0.125F, 0.129F, 0.145F, static_cast<float>(alpha))
                    : QColor::fromRgbF(0.925F, 0.931F, 0.945F, static_cast<float>(alpha));
}

QColor Theme::windowRim() const {
    if (isContrastIncreased())
        return primary();
    return isDark() ? white(0.14) : black(0.12);
}

QColor Theme::glass() const {
    if (isTransparencyReduced())
        return QColor::fromRgb(isDark() ? 0xff303136 : 0xfff8f8fa);
    return white(isDark() ? 0.075 : 0.62);
}

QColor Theme::glassHovered() const {
    if (isTransparencyReduced())
        return QColor::fromRgb(isDark() ? 0xff36373d : 0xffffffff);
    return white(isDark() ? 0.105 : 0.78);
}

QList<QColor> Theme::grounds() const {
    QList<QColor> grounds{menu()};
    for (const QColor wallpaper : {QColor(Qt::white), QColor(Qt::black)}) {
        const QColor panel = laidOver(window(), wallpaper);
        grounds += {panel, laidOver(glass(), panel), laidOver(glassHovered(), panel)};
    }
    return grounds;
}

QColor Theme::glassRim() const {
    return isContrastIncreased() ? primary() : white(0.1);
}

QColor Theme::glassShadow() const {
    return black(isDark() ? 0.26 : 0.13);
}

QColor Theme::control() const {
    return ink(isDark() ? 0.11 : 0.07);
}

QColor Theme::controlHovered() const {
    return ink(isDark() ? 0.17 : 0.11);
}

QColor Theme::menu() const {
    return QColor::fromRgb(isDark() ? 0xff2c2d32 : 0xfffafafb);
}

QColor Theme::thumb() const {
    if (isTransparencyReduced())
        return QColor::fromRgb(isDark() ? 0xff55565c : 0xffffffff);
    return isDark() ? QColor::fromRgb(0x55, 0x57, 0x60, 0xd8) : QColor::fromRgb(0xff, 0xff, 0xff, 0xe0);
}

QString Theme::monospaced() const {
    return QFontDatabase::systemFont(QFontDatabase::FixedFont).family();
}

int Theme::scaled(double size) const {
    return static_cast<int>(
        std::lround(size * std::clamp(appearance_.fontScale, kSmallestFontScale, kLargestFontScale)));
}

QColor Theme::mixed(const QColor& from, const QColor& to, double share) {
    const auto part = static_cast<float>(std::clamp(share, 0.0, 1.0));
    const auto mix = [part](float one, float other) { return one + (other - one) * part; };
    return QColor::fromRgbF(mix(from.redF(), to.redF()), mix(from.greenF(), to.greenF()),
                            mix(from.blueF(), to.blueF()), mix(from.alphaF(), to.alphaF()));
}

} // namespace vello
