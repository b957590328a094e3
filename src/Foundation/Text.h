// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vello {

struct DecodedCharacter {
    char32_t character;
    std::size_t byteCount; ///< 1 to 4
};

/// The UTF-8 character that `text` begins with; absent when it begins with none: overlong forms, surrogates
/// and what lies beyond U+10FFFF are none.
std::optional<DecodedCharacter> decodeCharacter(std::string_view text) noexcept;

/// A character that only steers a terminal or the direction of text, or breaks a line: C0 and C1 controls,
/// DEL, line and paragraph separators, bidirectional embeddings, overrides, isolates and marks.
bool isControlCharacter(char32_t character) noexcept;

/// UTF-8 throughout, without any control character.
bool isPlainText(std::string_view text) noexcept;

/// `text` for one line of a terminal or a file: control characters and bytes that are no UTF-8 appear as \n,
/// \t, \x1b, \u{202e}. Cut with "..." at about `mostBytes`.
std::string escapedForOneLine(std::string_view text, std::size_t mostBytes);

} // namespace vello
