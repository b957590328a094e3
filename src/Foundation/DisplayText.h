// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// For names from untrusted sources. They may be empty, huge, full of control characters or not valid UTF-8.
namespace vello {

/// Longest name that is passed on, in bytes.
inline constexpr std::size_t kLongestName = 200;

/// Whether the text holds anything but white space and control characters.
bool hasVisibleText(std::string_view text);
/// The name, cut and followed by "…" when it is longer than kLongestName. Never cuts inside a character.
std::string boundedName(std::string_view name);
/// The text without leading and trailing Unicode white space and line ends. Bytes that are not valid UTF-8 do
/// not count as white space.
std::string_view trimmedWhiteSpace(std::string_view text);

} // namespace vello
