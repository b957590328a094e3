// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance/AppearanceChoices.h"

#include <QMap>
#include <QStringList>
#include <QVariant>

namespace vello {

/// Values from a settings portal, by namespace and key. A value is a bool, a number, a text or, for a colour,
/// a QVariantList of three numbers. The portal is not trusted: a value may be anything.
using PortalSettings = QMap<QString, QVariantMap>;

/// The namespaces that `portalChoices` understands.
QStringList portalNamespaces();

/// The desktops' common keys take precedence over GNOME's, and GNOME's over KDE's. A value of a wrong type or
/// out of range is ignored.
AppearanceChoices portalChoices(const PortalSettings& settings);

} // namespace vello
