// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace vello {

/// A finite decimal number, whole text, whatever the user's language.
std::optional<double> parseNumber(std::string_view text);
/// The finite numbers of "g0,...,g7", one for each band.
std::optional<std::vector<double>> parseGains(std::string_view text);

} // namespace vello
