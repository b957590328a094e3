// SPDX-License-Identifier: Apache-2.0
#include "UI/Appearance/PortalChoices.h"

#include "UI/Appearance/GtkTheme.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vello {
namespace {

const QString kCommon = QStringLiteral("org.freedesktop.appearance");
const QString kGnome = QStringLiteral("org.gnome.desktop.interface");
const QString kGnomeAccess = QStringLiteral("org.gnome.desktop.a11y.interface");
const QString kKde = QStringLiteral("org.kde.kdeglobals.KDE");
const QString kKdeGeneral = QStringLiteral("org.kde.kdeglobals.General");

/// GNOME's accents are names; these are the colours that its applications draw.
struct NamedAccent {
    QLatin1String name;
    QRgb color;
};
constexpr std::array<NamedAccent, 9> kGnomeAccents{{
    {QLatin1String("blue"), 0xff3584e4},
    {QLatin1String("teal"), 0xff2190a4},
    {QLatin1String("green"), 0xff3a944a},
    {QLatin1String("yellow"), 0xffc88800},
    {QLatin1String("orange"), 0xffed5b00},
    {QLatin1String("red"), 0xffe62d42},
    {QLatin1String("pink"), 0xffd56199},
    {QLatin1String("purple"), 0xff9141ac},
    {QLatin1String("slate"), 0xff6f8396},
}};

/// Reads values with an expected type. A value of another type reads as absent.
class Reader {
public:
    explicit Reader(const PortalSettings& settings) : settings_(settings) {}

    QVariant value(const QString& space, const char* key) const {
        return settings_.value(space).value(QLatin1String(key));
    }

    std::optional<bool> flag(const QString& space, const char* key) const {
        const QVariant found = value(space, key);
        return found.typeId() == QMetaType::Bool ? std::optional(found.toBool()) : std::nullopt;
    }

    QString text(const QString& space, const char* key) const {
        const QVariant found = value(space, key);
        return found.typeId() == QMetaType::QString ? found.toString() : QString();
    }

    /// Also converts text to a number: KDE stores all its values as text.
    std::optional<double> number(const QString& space, const char* key) const {
        const QVariant found = value(space, key);
        bool isNumber = found.isValid() && found.typeId() != QMetaType::Bool;
        const double result = isNumber ? found.toDouble(&isNumber) : 0.0;
        return isNumber && std::isfinite(result) ? std::optional(result) : std::nullopt;
    }

private:
    const PortalSettings& settings_;
};

std::optional<bool> isDark(const Reader& reader) {
    const double scheme = reader.number(kCommon, "color-scheme").value_or(0.0);
    if (scheme == 1.0 || scheme == 2.0)
        return scheme == 1.0;
    const QString preference = reader.text(kGnome, "color-scheme");
    if (preference == QLatin1String("prefer-dark") || preference == QLatin1String("prefer-light"))
        return preference == QLatin1String("prefer-dark");
    if (isDarkThemeName(reader.text(kGnome, "gtk-theme")))
        return true;
    return std::nullopt;
}

/// From an RGB triple, each 0 to 1. Values out of range mean that there is no accent.
std::optional<QColor> colorOf(const QVariant& shares) {
    if (shares.typeId() != QMetaType::QVariantList || shares.toList().size() != 3)
        return std::nullopt;
    std::array<float, 3> channels{};
    std::ranges::transform(shares.toList(), channels.begin(),
                           [](const QVariant& share) { return share.toFloat(); });
    if (!std::ranges::all_of(channels, [](float share) { return share >= 0.0F && share <= 1.0F; }))
        return std::nullopt;
    return QColor::fromRgbF(channels[0], channels[1], channels[2]);
}

/// From a text such as "61,174,233", optionally with alpha.
std::optional<QColor> colorOfNumbers(const QString& text) {
    const QStringList parts = text.split(u',');
    if (parts.size() != 3 && parts.size() != 4)
        return std::nullopt;
    std::array<int, 3> channels{};
    for (std::size_t channel = 0; channel < channels.size(); ++channel) {
        bool isNumber = false;
        channels[channel] = parts[static_cast<qsizetype>(channel)].trimmed().toInt(&isNumber);
        if (!isNumber || channels[channel] < 0 || channels[channel] > 255)
            return std::nullopt;
    }
    return QColor(channels[0], channels[1], channels[2]);
}

std::optional<QColor> accent(const Reader& reader) {
    if (const auto common = colorOf(reader.value(kCommon, "accent-color")))
        return common;
    const QString name = reader.text(kGnome, "accent-color");
    const auto* const named =
        std::ranges::find_if(kGnomeAccents, [&](const NamedAccent& one) { return one.name == name; });
    if (named != kGnomeAccents.end())
        return QColor::fromRgb(named->color);
    return colorOfNumbers(reader.text(kKdeGeneral, "AccentColor"));
}

/// One source that asks for contrast is enough, because a source that does not know the setting reports its
/// default.
std::optional<bool> isContrastIncreased(const Reader& reader) {
    const std::optional<double> common = reader.number(kCommon, "contrast");
    const std::optional<bool> gnome = reader.flag(kGnomeAccess, "high-contrast");
    const bool isThemed = isHighContrastThemeName(reader.text(kGnome, "gtk-theme"));
    if (common == 1.0 || gnome == true || isThemed)
        return true;
    return common == 0.0 || gnome ? std::optional(false) : std::nullopt;
}

std::optional<bool> isMotionReduced(const Reader& reader) {
    const std::optional<double> common = reader.number(kCommon, "reduced-motion");
    const std::optional<bool> gnome = reader.flag(kGnome, "enable-animations");
    const std::optional<double> kde = reader.number(kKde, "AnimationDurationFactor");
    if (common == 1.0 || gnome == false || kde == 0.0)
        return true;
    return common == 0.0 || gnome || (kde && *kde > 0.0) ? std::optional(false) : std::nullopt;
}

std::optional<double> fontScale(const Reader& reader) {
    const std::optional<double> factor = reader.number(kGnome, "text-scaling-factor");
    return factor && *factor > 0.0 ? factor : std::nullopt;
}

} // namespace

QStringList portalNamespaces() {
    return {kCommon, kGnome, kGnomeAccess, kKde, kKdeGeneral};
}

AppearanceChoices portalChoices(const PortalSettings& settings) {
    const Reader reader(settings);
    return {.isDark = isDark(reader),
            .accent = accent(reader),
            .isContrastIncreased = isContrastIncreased(reader),
            .isMotionReduced = isMotionReduced(reader),
            .fontScale = fontScale(reader)};
}

} // namespace vello
