// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <string>

namespace vello {

/// Makes untrusted text (a file name, an argument) safe for one line of a terminal: replaces every control
/// character with a question mark.
inline std::string oneLine(std::string text) {
    const auto isControl = [](unsigned char c) { return c < 0x20 || c == 0x7F; };
    std::ranges::replace_if(text, isControl, '?');
    return text;
}

} // namespace vello
