// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace vello {

/// Parses a finite decimal number, independent of the locale. Returns nullopt unless the whole text is a
/// number.
std::optional<double> parseNumber(std::string_view text);
/// Parses "g0,...,g7": finite numbers, one per band. Returns nullopt for anything else.
std::optional<std::vector<double>> parseGains(std::string_view text);

} // namespace vello
