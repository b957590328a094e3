// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Appearance.h"

namespace vello {

/// What the toolkit's own palette and font tell of the user's choices. There is a QGuiApplication.
Appearance paletteAppearance();

} // namespace vello
