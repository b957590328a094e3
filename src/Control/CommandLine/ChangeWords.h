// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/State/OutsideValues.h"

#include <string>

/// Parsing of the options of `vello set` that have a little language of their own. Wrong text throws
/// OutsideValueError with a sentence.
namespace vello {

/// "0.5" (linear), "50%" or "=-3dB" sets the volume; a sign makes a step of it: "+5%", "-0.1", "-3dB".
void parseVolumeChange(const std::string& text, SettingsChange& change);

/// "1k=3" sets the gain of a band in dB; "1k+=3" and "1k-=3" are steps. Bands are 63, 125, 250, 500, 1k, 2k,
/// 4k and 8k, or in Hz.
BandChange parseBandChange(const std::string& text);

} // namespace vello
