// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <string>

namespace vello {

/// Text that may come from a stranger (a file name, an argument), fit for one line of a terminal: a question
/// mark stands for every control character.
inline std::string oneLine(std::string text) {
    const auto isControl = [](unsigned char c) { return c < 0x20 || c == 0x7F; };
    std::ranges::replace_if(text, isControl, '?');
    return text;
}

} // namespace vello
