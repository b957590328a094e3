// SPDX-License-Identifier: Apache-2.0
#include "UI/Appearance/XSettingsChoices.h"

#include "UI/Appearance/GtkTheme.h"

#include <QDataStream>
#include <QIODevice>

namespace vello {
namespace {

/// Default desktop fonts have 9 to 11 points. The screen's dots per inch are part of Qt's scale of the
/// screen.
constexpr double kNormalPoints = 11.0;
constexpr quint32 kMostSettings = 4096;

enum class Type : quint8 { integer = 0, string = 1, color = 2 };

void skip(QDataStream& in, qsizetype bytes) {
    if (in.skipRawData(static_cast<int>(bytes)) != bytes)
        in.setStatus(QDataStream::ReadPastEnd);
}

/// A text of `length` bytes and the padding to a multiple of four.
QString paddedText(QDataStream& in, quint32 length) {
    if (length > in.device()->bytesAvailable()) {
        in.setStatus(QDataStream::ReadPastEnd);
        return {};
    }
    QByteArray bytes(static_cast<qsizetype>(length), Qt::Uninitialized);
    in.readRawData(bytes.data(), static_cast<int>(length)); // it is all there
    skip(in, (4 - length % 4) % 4);
    return QString::fromUtf8(bytes);
}

QVariant value(QDataStream& in, Type type) {
    switch (type) {
    case Type::integer: {
        qint32 number = 0;
        in >> number;
        return number;
    }
    case Type::string: {
        quint32 length = 0;
        in >> length;
        return paddedText(in, length);
    }
    case Type::color:
        skip(in, 8);
        return {};
    }
    in.setStatus(QDataStream::ReadCorruptData);
    return {};
}

void readSetting(QDataStream& in, XSettings& settings) {
    quint8 type = 0;
    quint8 unused = 0;
    quint16 nameLength = 0;
    in >> type >> unused >> nameLength;
    const QString name = paddedText(in, nameLength);
    quint32 serial = 0;
    in >> serial;
    const QVariant found = value(in, Type{type});
    if (in.status() == QDataStream::Ok && found.isValid())
        settings.insert(name, found);
}

std::optional<bool> isDark(const XSettings& settings, const GtkColors& colors, const QString& theme) {
    if (colors.background.isValid() && colors.foreground.isValid())
        return colors.background.lightnessF() < colors.foreground.lightnessF();
    const bool isDark = isDarkThemeName(theme) ||
                        settings.value(QStringLiteral("Gtk/ApplicationPreferDarkTheme")).toInt() == 1;
    return isDark ? std::optional(true) : std::nullopt;
}

/// Of a font such as "Noto Sans Bold 12", whose last word is its size in points.
std::optional<double> fontScale(const QString& font) {
    bool isNumber = false;
    const double points = font.section(u' ', -1).toDouble(&isNumber);
    return isNumber && points > 0.0 && points < 1000.0 ? std::optional(points / kNormalPoints) : std::nullopt;
}

} // namespace

XSettings readXSettings(const QByteArray& property) {
    QDataStream in(property);
    quint8 byteOrder = 0;
    in >> byteOrder;
    in.setByteOrder(byteOrder == 0 ? QDataStream::LittleEndian : QDataStream::BigEndian);
    skip(in, 3);
    quint32 serial = 0;
    quint32 count = 0;
    in >> serial >> count;
    XSettings settings;
    if (count > kMostSettings)
        return settings;
    for (quint32 i = 0; i < count && in.status() == QDataStream::Ok; ++i)
        readSetting(in, settings);
    return in.status() == QDataStream::Ok ? settings : XSettings();
}

AppearanceChoices xSettingsChoices(const XSettings& settings) {
    const QString theme = settings.value(QStringLiteral("Net/ThemeName")).toString();
    const QString scheme = settings.value(QStringLiteral("Gtk/ColorScheme")).toString();
    const GtkColors colors = scheme.isEmpty() ? GtkColors::ofTheme(theme) : GtkColors::ofScheme(scheme);
    const QVariant animations = settings.value(QStringLiteral("Gtk/EnableAnimations"));
    AppearanceChoices choices{.isDark = isDark(settings, colors, theme),
                              .fontScale =
                                  fontScale(settings.value(QStringLiteral("Gtk/FontName")).toString())};
    if (colors.selection.isValid())
        choices.accent = colors.selection;
    if (isHighContrastThemeName(theme))
        choices.isContrastIncreased = true;
    if (animations.isValid())
        choices.isMotionReduced = animations.toInt() == 0;
    return choices;
}

} // namespace vello
