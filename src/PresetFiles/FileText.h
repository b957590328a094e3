// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace vello {

/// The content of a text file as valid UTF-8 without byte order mark: UTF-16 with its mark and UTF-8 are
/// recognized, anything else is taken for Latin-1. Throws PresetFileError for a file that is empty, too large
/// or no text.
std::string fileText(std::string_view content);

} // namespace vello
