// SPDX-License-Identifier: Apache-2.0
#include "Control/State/TerminalText.h"

#include <algorithm>
#include <cstdint>

#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace vello {
namespace {

constexpr std::size_t kMostCombiningMarks = 4; ///< on one character; more of them would cover other lines

/// Calls `visit` with each character and its bytes; a negative one stands for a byte that is no UTF-8.
template <class Visitor> void forEachCharacter(std::string_view text, Visitor visit) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end) {
        UChar32 character = 0;
        U8_NEXT(bytes, end, text.size(), character);
        if (!visit(character, text.substr(begin, end - begin)))
            return;
    }
}

bool isMark(UChar32 character) {
    const auto mask = U_GET_GC_MASK(character);
    return (mask & (U_GC_MN_MASK | U_GC_ME_MASK)) != 0;
}

/// Control, format (also of the direction of writing), unassigned, private and separating characters.
bool isSafe(UChar32 character) {
    return character >= 0 && (U_GET_GC_MASK(character) & (U_GC_C_MASK | U_GC_ZL_MASK | U_GC_ZP_MASK)) == 0;
}

std::size_t width(UChar32 character) {
    if (character < 0)
        return 1;
    if (isMark(character))
        return 0;
    const auto kind = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
    return kind == U_EA_WIDE || kind == U_EA_FULLWIDTH ? 2 : 1;
}

} // namespace

std::string terminalText(std::string_view text) {
    std::string result;
    std::size_t marks = 0;
    forEachCharacter(text, [&](UChar32 character, std::string_view bytes) {
        marks = character >= 0 && isMark(character) ? marks + 1 : 0;
        if (!isSafe(character))
            result += '?';
        else if (marks <= kMostCombiningMarks)
            result += bytes;
        return true;
    });
    return result;
}

std::size_t terminalWidth(std::string_view text) {
    std::size_t columns = 0;
    forEachCharacter(text, [&](UChar32 character, std::string_view) {
        columns += width(character);
        return true;
    });
    return columns;
}

std::string fittedText(std::string_view text, std::size_t columns) {
    std::string safe = terminalText(text);
    if (terminalWidth(safe) <= columns)
        return safe;
    std::string result;
    std::size_t used = 0;
    forEachCharacter(safe, [&](UChar32 character, std::string_view bytes) {
        used += width(character);
        if (used >= columns)
            return false;
        result += bytes;
        return true;
    });
    return result + "…";
}

} // namespace vello
