// SPDX-License-Identifier: Apache-2.0
#include "UI/Appearance/GtkTheme.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>

namespace vello {
namespace {

constexpr qint64 kMostBytes = 256 * 1024;

QString fileOf(const QString& theme) {
    const QString ofTheUser = QStringLiteral("%1/.themes/%2/gtk-2.0/gtkrc").arg(QDir::homePath(), theme);
    return QFileInfo(ofTheUser).isFile()
               ? ofTheUser
               : QStandardPaths::locate(QStandardPaths::GenericDataLocation,
                                        QStringLiteral("themes/%1/gtk-2.0/gtkrc").arg(theme));
}

} // namespace

bool isDarkThemeName(const QString& theme) {
    return theme.endsWith(QLatin1String("-dark"), Qt::CaseInsensitive) ||
           theme.contains(QLatin1String("-dark-"), Qt::CaseInsensitive) ||
           theme.compare(QLatin1String("HighContrastInverse"), Qt::CaseInsensitive) == 0;
}

bool isHighContrastThemeName(const QString& theme) {
    return theme.startsWith(QLatin1String("HighContrast"), Qt::CaseInsensitive);
}

GtkColors GtkColors::ofScheme(const QString& scheme) {
    static const QRegularExpression entry(
        QStringLiteral("\\b(bg_color|fg_color|selected_bg_color)\\s*:\\s*(#[0-9a-fA-F]{3,12})"));
    GtkColors colors;
    for (auto match = entry.globalMatch(scheme); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        const QString name = found.captured(1);
        QColor& color = name == QLatin1String("bg_color")   ? colors.background
                        : name == QLatin1String("fg_color") ? colors.foreground
                                                            : colors.selection;
        color = QColor(found.captured(2));
    }
    return colors;
}

GtkColors GtkColors::ofTheme(const QString& theme) {
    if (theme.isEmpty() || theme.startsWith(u'.') || theme.contains(u'/'))
        return {};
    QFile file(fileOf(theme));
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly))
        return {};
    static const QRegularExpression scheme(QStringLiteral("gtk[-_]color[-_]scheme\\s*=\\s*\"([^\"]*)\""));
    QString all;
    const QString text = QString::fromUtf8(file.read(kMostBytes));
    for (auto match = scheme.globalMatch(text); match.hasNext();)
        all += match.next().captured(1) + u';';
    return ofScheme(all.replace(QLatin1String("\\n"), QLatin1String(";")));
}

} // namespace vello
