// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QIcon>
#include <QString>

namespace vello {

/// The status item's icon as pixels: light with a dark rim, so that it shows on every bar. Which colour a bar
/// has, no host tells.
QIcon trayIcon();

/// The sizes, in pixels, that the icon is made in.
inline constexpr int kTrayIconSizes[] = {16, 22, 24, 32, 48, 64};

/// The name of the symbolic icon, which its host paints in the colour of the bar's text, or nothing where the
/// host is not known to do so or the icon is not installed: some hosts show a broken image then.
/// `currentDesktop` is what XDG_CURRENT_DESKTOP says.
QString symbolicTrayIconName(const QString& currentDesktop);

} // namespace vello
