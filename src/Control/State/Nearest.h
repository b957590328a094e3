// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace vello {

/// The known word that `word` was probably meant to be: the one with the smallest edit distance (insertions,
/// deletions, replacements and swapped neighbours), ignoring the case of ASCII letters. Empty when every
/// known word is too different. Only words of at most 64 bytes are compared.
std::string nearestWord(std::string_view word, std::span<const std::string> known);

/// "did you mean ...?" and a space for the middle of a sentence; empty without a near word. Safe for a
/// terminal.
std::string didYouMean(std::string_view word, std::span<const std::string> known);
/// The same for the end of a sentence: "; did you mean ...?" or empty.
std::string orDidYouMean(std::string_view word, std::span<const std::string> known);

} // namespace vello
