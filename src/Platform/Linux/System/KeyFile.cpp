// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/KeyFile.h"

#include <algorithm>

namespace vello {
namespace {

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string_view takeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    return trimmed(line);
}

} // namespace

KeyFileGroup readKeyFileGroup(std::string_view text, std::string_view group) {
    KeyFileGroup values;
    bool isInside = false;
    while (!text.empty()) {
        const std::string_view line = takeLine(text);
        if (line.starts_with('['))
            isInside = line.size() == group.size() + 2 && line.ends_with(']') &&
                       line.substr(1, group.size()) == group;
        const auto equals = line.find('=');
        if (isInside && !line.starts_with('#') && !line.starts_with('[') && equals != std::string_view::npos)
            values.emplace(trimmed(line.substr(0, equals)), trimmed(line.substr(equals + 1)));
    }
    return values;
}

std::string unescapedValue(std::string_view value) {
    constexpr std::string_view letters = "sntr\\";
    constexpr std::string_view characters = " \n\t\r\\";
    std::string result;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const auto letter =
            value[i] == '\\' && i + 1 < value.size() ? letters.find(value[i + 1]) : letters.npos;
        result += letter == letters.npos ? value[i] : characters[letter];
        i += letter == letters.npos ? 0 : 1;
    }
    return result;
}

} // namespace vello
