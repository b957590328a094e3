// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance/AppearanceChoices.h"

#include <QString>
#include <QStringList>

namespace vello {

/// The user's choices in words, for settings that a desktop does not have: "dark" or "light", "contrast" or
/// "no-contrast", "still" or "moving", "opaque" or "translucent", "rtl" or "ltr", "scale=1.5",
/// "accent=#rrggbb".
struct AppearanceWords {
    AppearanceChoices choices = {};
    /// One sentence for each word that was not understood; such words are ignored.
    QStringList complaints = {};

    /// `words` are separated by commas or blanks. The last word on a choice wins.
    static AppearanceWords read(const QString& words);
};

} // namespace vello
