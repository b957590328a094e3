// SPDX-License-Identifier: Apache-2.0
#include "UI/Appearance/AppearanceChoices.h"

#include <algorithm>

namespace vello {

AppearanceChoices AppearanceChoices::orElse(const AppearanceChoices& other) const {
    const auto first = [](const auto& one, const auto& next) { return one ? one : next; };
    return {.isDark = first(isDark, other.isDark),
            .accent = first(accent, other.accent),
            .isContrastIncreased = first(isContrastIncreased, other.isContrastIncreased),
            .isMotionReduced = first(isMotionReduced, other.isMotionReduced),
            .isTransparencyReduced = first(isTransparencyReduced, other.isTransparencyReduced),
            .isRightToLeft = first(isRightToLeft, other.isRightToLeft),
            .fontScale = first(fontScale, other.fontScale)};
}

Appearance AppearanceChoices::appearance() const {
    const bool hasContrast = isContrastIncreased.value_or(false);
    return {.isDark = isDark.value_or(false),
            .accent = accent.value_or(QColor()),
            .isContrastIncreased = hasContrast,
            .isMotionReduced = isMotionReduced.value_or(false),
            .isTransparencyReduced = isTransparencyReduced.value_or(hasContrast),
            .isRightToLeft = isRightToLeft.value_or(false),
            .fontScale = std::clamp(fontScale.value_or(1.0), kSmallestFontScale, kLargestFontScale)};
}

} // namespace vello
