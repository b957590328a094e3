// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance/AppearanceChoices.h"

#include <QString>
#include <QStringList>

namespace vello {

/// The user's choices in words, for what a desktop has no setting for: "dark" or "light", "contrast" or
/// "no-contrast", "still" or "moving", "opaque" or "translucent", "rtl" or "ltr", "scale=1.5",
/// "accent=#rrggbb".
struct AppearanceWords {
    AppearanceChoices choices = {};
    /// A sentence on each word that says nothing; such words are left out.
    QStringList complaints = {};

    /// `words` are separated by commas or blanks; the last one on a matter counts.
    static AppearanceWords read(const QString& words);
};

} // namespace vello
