// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance/AppearanceChoices.h"

#include <QMap>
#include <QStringList>
#include <QVariant>

namespace vello {

/// What a settings portal tells: values by key by namespace. A value is a bool, a number, a text or, for a
/// colour, a QVariantList of three numbers. It comes from outside, and may be anything.
using PortalSettings = QMap<QString, QVariantMap>;

/// The namespaces that `portalChoices` understands.
QStringList portalNamespaces();

/// The desktops' common keys come first, then those of GNOME, then those of KDE. A value of a wrong type or
/// out of its range says nothing.
AppearanceChoices portalChoices(const PortalSettings& settings);

} // namespace vello
