// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance/AppearanceChoices.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QVariant>

namespace vello {

/// Settings of an X11 desktop by name: int or QString. Colours are left out.
using XSettings = QMap<QString, QVariant>;

/// Reads the property _XSETTINGS_SETTINGS as the XSETTINGS protocol 0.5 defines it. Empty when it is
/// malformed: any program can set it.
XSettings readXSettings(const QByteArray& property);

/// The choices of a GTK desktop: theme, colours, font and animations. The theme's file is read for colours
/// that the settings do not have.
AppearanceChoices xSettingsChoices(const XSettings& settings);

} // namespace vello
