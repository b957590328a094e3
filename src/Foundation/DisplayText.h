// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Names that come from strangers: perhaps empty, huge, full of control characters or no UTF-8.
namespace vello {

/// Bytes of the longest name that is passed on.
inline constexpr std::size_t kLongestName = 200;

/// There is something to see in it: not only white space and control characters.
bool hasVisibleText(std::string_view text);
/// The name, or the beginning of it with "…" behind when it is longer than kLongestName. Characters stay
/// whole.
std::string boundedName(std::string_view name);
/// The text without the Unicode white space at both ends, line ends included. Bytes that are no UTF-8 are no
/// white space and stay as they are.
std::string_view trimmedWhiteSpace(std::string_view text);

} // namespace vello
