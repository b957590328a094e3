// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance/Appearance.h"

#include <optional>

namespace vello {

/// The user's choices according to one source (a portal, a palette, the environment). An empty field leaves
/// the choice to other sources.
struct AppearanceChoices {
    std::optional<bool> isDark = {};
    std::optional<QColor> accent = {}; ///< valid and opaque
    std::optional<bool> isContrastIncreased = {};
    std::optional<bool> isMotionReduced = {};
    std::optional<bool> isTransparencyReduced = {};
    std::optional<bool> isRightToLeft = {};
    std::optional<double> fontScale = {}; ///< finite

    /// Fills fields that are empty here from `other`.
    AppearanceChoices orElse(const AppearanceChoices& other) const;
    /// Increased contrast also reduces transparency, unless a source says otherwise. A font scale out of
    /// range is clamped.
    Appearance appearance() const;

    friend bool operator==(const AppearanceChoices&, const AppearanceChoices&) = default;
};

} // namespace vello
