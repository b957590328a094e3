// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "TargetCurve.h"

namespace vello {

/// Reads the text form of Equalizer APO, which AutoEq and measurement programs write too: Preamp, Filter,
/// GraphicEQ and Channel. `text` is valid UTF-8. Throws PresetFileError.
TargetCurve readEqualizerText(std::string_view text);

} // namespace vello
