// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance/Appearance.h"

#include <optional>

namespace vello {

/// What one place (a portal, a palette, the environment) says of the user's choices. What it leaves open is
/// for other places to say.
struct AppearanceChoices {
    std::optional<bool> isDark = {};
    std::optional<QColor> accent = {}; ///< valid and opaque
    std::optional<bool> isContrastIncreased = {};
    std::optional<bool> isMotionReduced = {};
    std::optional<bool> isTransparencyReduced = {};
    std::optional<bool> isRightToLeft = {};
    std::optional<double> fontScale = {}; ///< finite

    /// Takes from `other` what is open here.
    AppearanceChoices orElse(const AppearanceChoices& other) const;
    /// More contrast without a word on transparency means less of that as well. A font scale out of range
    /// becomes the nearest one in it.
    Appearance appearance() const;

    friend bool operator==(const AppearanceChoices&, const AppearanceChoices&) = default;
};

} // namespace vello
