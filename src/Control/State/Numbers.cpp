// SPDX-License-Identifier: Apache-2.0
#include "Control/State/Numbers.h"

#include "Models/EQSettings.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace vello {

std::optional<double> parseNumber(std::string_view text) {
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    double value = 0;
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (problem != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<std::vector<double>> parseGains(std::string_view text) {
    std::vector<double> values;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        const auto value = parseNumber(text.substr(begin, end - begin));
        if (!value || values.size() == EQSettings::bandCount)
            return std::nullopt;
        values.push_back(*value);
        begin = end + 1;
    }
    return values.size() == EQSettings::bandCount ? std::optional(values) : std::nullopt;
}

} // namespace vello
