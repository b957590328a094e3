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

constexpr QRgb kOwnAccentOnDark = 0x4fa8ff;
constexpr QRgb kOwnAccentOnLight = 0x1676e8;

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

Theme::Accents Theme::derivedAccents() const {
    const QColor own = solid(kOwnAccentOnDark, kOwnAccentOnLight);
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

QColor Theme::accentFillRim() const {
    const auto isDistinct = [this](const QColor& ground) {
        return contrastRatio(accentFill(), ground) >= kMarkContrast;
    };
    return std::ranges::all_of(grounds(), isDistinct) ? rim(white(0.22)) : controlRim();
}

QColor Theme::response(double saturation) const {
    QColor grey = tertiary();
    QColor coloured = accent();
    grey.setAlphaF(0.25F);
    coloured.setAlphaF(isContrastIncreased() ? 0.8F : 0.4F);
    return mixed(grey, coloured, saturation);
}

QColor Theme::awayFromText(double share) const {
    return mixed(accentFill(), onAccent() == Qt::white ? Qt::black : Qt::white, share);
}

QColor Theme::window(double alpha) const {
    return isDark() ? QColor::fromRgbF(0.125F, 0.129F, 0.145F, static_cast<float>(alpha))
                    : QColor::fromRgbF(0.925F, 0.931F, 0.945F, static_cast<float>(alpha));
}

QColor Theme::thumb() const {
    const QColor translucent = isDark() ? QColor(0x55, 0x57, 0x60, 0xd8) : QColor(0xff, 0xff, 0xff, 0xe0);
    return material(translucent, solid(0x55565c, 0xffffff));
}

QList<QColor> Theme::grounds() const {
    QList<QColor> grounds{menu()};
    for (const QColor wallpaper : {QColor(Qt::white), QColor(Qt::black)}) {
        const QColor panel = laidOver(window(), wallpaper);
        grounds += {panel, laidOver(glass(), panel), laidOver(glassHovered(), panel)};
    }
    return grounds;
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
