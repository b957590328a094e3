// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PresetFiles/PresetFile.h"

#include <string>
#include <string_view>

#include <QVariant>

namespace vello {

/// Reads the preset of a file that a client sent. `name` is what to call it; if empty, the file must name it.
/// Of a file of several presets it takes the one called `name`. Throws OutsideValueError.
ImportedPreset importedPreset(const std::string& name, std::string_view content);
/// Keys "name", "band_gains", "rms_error", "largest_error", "at_frequency" and "notes".
QVariantMap encodeImport(const ImportedPreset& preset);

} // namespace vello
