// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QColor>
#include <QString>

#include <optional>

namespace vello {

/// Whether a GTK theme of this name is dark by convention: "Arc-Dark", "Mint-Y-Dark-Aqua".
bool isDarkThemeName(const QString& theme);
bool isHighContrastThemeName(const QString& theme);

/// Colours of a GTK theme. A colour that the theme does not name is invalid.
struct GtkColors {
    QColor background = {};
    QColor foreground = {};
    QColor selection = {};

    /// `scheme`: entries such as "bg_color:#e8e8e7", separated by line ends or semicolons.
    static GtkColors ofScheme(const QString& scheme);
    /// From the file gtk-2.0/gtkrc of the theme, in which most themes name their colours. The file is
    /// untrusted.
    static GtkColors ofTheme(const QString& theme);
};

} // namespace vello
