// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QIcon>
#include <QString>

namespace vello {

/// Dimmed while the master switch is off.
enum class TrayIconLight { full, dimmed };

/// The status item's icon as pixels: light with a dark rim, so that it is visible on every bar. Hosts do not
/// report the colour of their bar.
QIcon trayIcon(TrayIconLight light);

/// The icon's sizes in pixels.
inline constexpr int kTrayIconSizes[] = {16, 22, 24, 32, 48, 64};

/// The name of the symbolic icon, which the host paints in the colour of the bar's text. Empty when the host
/// is not known to do so or the icon is not installed, because some hosts then show a broken image.
/// `currentDesktop` is the value of XDG_CURRENT_DESKTOP.
QString symbolicTrayIconName(const QString& currentDesktop, TrayIconLight light);

} // namespace vello
